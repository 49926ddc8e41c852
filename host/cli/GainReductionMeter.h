#pragma once

#include <cstddef>
#include <vector>

// The largest gain reduction per channel, measured from the audio. A
// limiter's own gain-reduction meter is not visible through the plug-in
// interface, so the reduction is read off the signals: per window of 10 ms,
// the input's peak raised by the input gain against the output's peak in the
// same window (the output aligned with the input). Windows whose raised
// input stays below -60 dBFS do not count, and a window where the output
// rises above the raised input (saturation adds harmonics) counts as no
// reduction.
class GainReductionMeter
{
public:
    GainReductionMeter(int channels, int sampleRate, double inputGainDb);

    void addInput(const float* interleaved, size_t frames);
    void addOutput(const float* interleaved, size_t frames);
    // In dB, 0 or more, per channel.
    std::vector<double> getMaxReductionDb() const;

    static constexpr double windowSeconds = 0.01;
    static constexpr double floorDbfs = -60.0;

private:
    // Appends the peaks of whole and partial windows to `peaks`.
    void addPeaks(const float* interleaved, size_t frames, std::vector<std::vector<float>>& peaks,
                  size_t& framesInWindow);

    int channels;
    size_t windowFrames;
    double inputGain;
    std::vector<std::vector<float>> inputPeaks;
    std::vector<std::vector<float>> outputPeaks;
    size_t inputFramesInWindow;
    size_t outputFramesInWindow;
};
