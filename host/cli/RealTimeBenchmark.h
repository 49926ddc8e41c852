#pragma once

#include <string>
#include <vector>

// One effect to time and what to set before timing it: a program (name or
// index, none if empty) and parameters as --set and --set-norm take them.
struct BenchmarkContender
{
    std::string path;
    std::string program;
    std::vector<std::string> unitSettings;
    std::vector<std::string> normalisedSettings;
};

// How fast one effect renders, as a multiple of real time.
struct BenchmarkResult
{
    std::string path;
    std::string name;
    int latencyFrames = 0;
    std::vector<double> realTimeFactors; // one per pass
    double median = 0.0;
};

// Times effects on the same generated material (the demo mix) in one run:
// only the process calls are timed, every effect renders the whole material
// once per pass, the passes take turns between the effects so that a busy
// moment of the machine hits them alike, and the median pass counts.
class RealTimeBenchmark
{
public:
    // gainDb raises or lowers the material for every effect alike.
    RealTimeBenchmark(double seconds, int sampleRate, int blockFrames, int passes, double gainDb = 0.0);

    // Throws HostError when a module cannot be loaded or is not stereo, or
    // a program or setting does not apply.
    std::vector<BenchmarkResult> run(const std::vector<BenchmarkContender>& contenders) const;

    static double median(std::vector<double> values);

private:
    double seconds;
    int sampleRate;
    int blockFrames;
    int passes;
    double gainDb;
};
