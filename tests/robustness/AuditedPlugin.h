#pragma once

#include "VstModule.h"

#include <string>
#include <vector>

class LoudMix;

// One instance of the built plug-in driven as a host drives it (opened, rate
// and block size set, resumed), whose every output block is audited: each
// sample finite and not above the ceiling that "Outceil", as the host reads
// it back at the start of the block, gives (a fixed bound instead while
// another thread changes the parameters). Output buffers are filled with NaN
// before each call, so a sample the plug-in fails to write is caught too.
class AuditedPlugin
{
public:
    static constexpr int maxBlockSize = 8192;

    explicit AuditedPlugin(float sampleRate = 44100.0f);

    VstModule& module() { return plugin; }

    // Processes frames (0..maxBlockSize) of the two inputs; inPlace hands the
    // host's output arrays as inputs too, as hosts may.
    void process(const float* left, const float* right, int frames, bool inPlace = false);
    // The next frames of the material, times gain.
    void process(LoudMix& material, int frames, float gain = 1.0f);

    // The last block's output.
    const float* outputLeft() const { return output[0].data(); }
    const float* outputRight() const { return output[1].data(); }

    // The bound the current "Outceil" gives: 10^(dB/20), raised by the most
    // the plug-in's single-precision ceiling can differ from it. Rounding
    // onto a word-length grid only lowers the plug-in's clip level.
    double ceiling();
    // Audits against this bound from now on instead (0 returns to the above).
    void useFixedBound(double bound) { fixedBound = bound; }

    bool clean() const { return violation.empty(); }
    const std::string& firstViolation() const { return violation; }
    // Largest |sample| / bound seen.
    double highestRatio() const { return highest; }

private:
    VstModule plugin;
    std::vector<float> input[2];
    std::vector<float> output[2];
    double fixedBound = 0.0;
    double highest = 0.0;
    long long samples = 0;
    std::string violation;
};
