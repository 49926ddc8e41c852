#pragma once

#include "BenchCommand.h"
#include "Renderer.h"

#include <ostream>
#include <string>
#include <vector>

// The palisorne program: parses the command line (CLI11) and runs one of
// render, info, bench, demo and edit. Reports go to `out`, errors and
// warnings to `err`, each error as one line.
class PalisorneCommandLine
{
public:
    PalisorneCommandLine(std::ostream& out, std::ostream& err);

    // The process's exit code: 0 on success, 1 when the work failed, 2 for a
    // command line that cannot be understood, 3 when --strict finds the
    // output's true peak above the ceiling (the output is written).
    int run(int argc, const char* const* argv);

    static constexpr const char* demoProgram = "EBU R128 -1 dBTP";
    static constexpr const char* demoInputGain = "In gain=6";
    static constexpr double demoSeconds = 8.0;
    static constexpr int demoSampleRate = 48000;

private:
    int render(const RenderSettings& settings, bool json, bool strict);
    int demo(const std::string& pluginPath, const std::string& directory, bool json);

    std::ostream& out;
    std::ostream& err;
};
