#pragma once

#include <cstdint>
#include <string>

// Checks every output sample a test or a soak run produces: finite, and not
// above the clip level in force for its block. Counts what it saw and keeps
// a description of the first violation.
class OutputAudit
{
public:
    // outputs[channels][frames]; clipLevel from ClipLevelBound.
    void check(const float* const* outputs, int channels, int frames, double clipLevel);

    bool clean() const { return nonFiniteSamples == 0 && samplesAboveClipLevel == 0; }
    int64_t samples() const { return checkedSamples; }
    int64_t nonFinite() const { return nonFiniteSamples; }
    int64_t aboveClipLevel() const { return samplesAboveClipLevel; }
    // Largest |sample| / clip level seen (0 before any check).
    double highestRatio() const { return highest; }
    const std::string& firstViolation() const { return violation; }
    // The counts and the first violation, for a failure message.
    std::string summary() const;

private:
    int64_t checkedSamples = 0;
    int64_t nonFiniteSamples = 0;
    int64_t samplesAboveClipLevel = 0;
    double highest = 0.0;
    std::string violation;
};
