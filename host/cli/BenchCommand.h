#pragma once

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
    bool json = false;
};

// `palisorne bench`: times each plug-in on the same generated material and
// prints a table or JSON.
class BenchCommand
{
public:
    static int run(std::ostream& out, const BenchSettings& settings);
};
