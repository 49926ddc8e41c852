#pragma once

#include "Renderer.h"

#include <ostream>
#include <string>
#include <vector>

// What `palisorne bench` is asked for. Programs and settings are "N:TEXT"
// for the N-th plug-in (from 1), TEXT as render's --program, --set and
// --set-norm take it.
struct BenchSettings
{
    std::vector<std::string> plugins;
    std::vector<std::string> programs;
    std::vector<std::string> unitSettings;
    std::vector<std::string> normalisedSettings;
    double seconds = 10.0;
    int sampleRate = 48000;
    int blockFrames = 512;
    int passes = 5;
    double gainDb = 0.0;
};

// The palisorne program: parses the command line (CLI11) and runs one of
// render, info, bench and demo. Reports go to `out`, errors and warnings to
// `err`, each error as one line.
class PalisorneCommandLine
{
public:
    PalisorneCommandLine(std::ostream& out, std::ostream& err);

    // The process's exit code: 0 on success, 1 when the work failed, 2 for a
    // command line that cannot be understood.
    int run(int argc, const char* const* argv);

    static constexpr const char* demoProgram = "EBU R128 -1 dBTP";
    static constexpr const char* demoInputGain = "In gain=6";
    static constexpr double demoSeconds = 8.0;
    static constexpr int demoSampleRate = 48000;

private:
    int render(const RenderSettings& settings, bool json);
    int info(const std::string& pluginPath, double sampleRate);
    int bench(const BenchSettings& settings);
    int demo(const std::string& pluginPath, const std::string& directory, bool json);

    std::ostream& out;
    std::ostream& err;
};
