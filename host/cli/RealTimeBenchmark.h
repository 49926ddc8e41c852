#pragma once

#include <string>
#include <vector>

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
    RealTimeBenchmark(double seconds, int sampleRate, int blockFrames, int passes);

    // Throws HostError when a module cannot be loaded or is not stereo.
    std::vector<BenchmarkResult> run(const std::vector<std::string>& pluginPaths) const;

    static double median(std::vector<double> values);

private:
    double seconds;
    int sampleRate;
    int blockFrames;
    int passes;
};
