#pragma once

#include <cstddef>
#include <vector>

// Gain reduction over time per channel, read off the signals: the VST2
// interface gives a host no access to a plug-in's own meters. Per window of
// 10 ms, the output's RMS level is set against the input's, raised by the
// plug-in's input gain, in the same window (the output aligned with the
// input); the reduction is how far the output stays below. Windows whose
// raised input lies under -60 dBFS RMS do not count, and a window where the
// output is louder (saturation adds harmonics) counts as no reduction.
class GainReductionMeter
{
public:
    GainReductionMeter(int channels, int sampleRate, double inputGainDb);

    void addInput(const float* interleaved, size_t frames);
    void addOutput(const float* interleaved, size_t frames);
    // In dB, 0 or more, per channel: the largest of the windows and their mean.
    std::vector<double> getLargestReductionDb() const;
    std::vector<double> getMeanReductionDb() const;

    static constexpr double windowSeconds = 0.01;
    static constexpr double floorDbfs = -60.0;

private:
    // Appends the energies of whole and partial windows to `energies`.
    void addEnergies(const float* interleaved, size_t frames, std::vector<std::vector<double>>& energies,
                     size_t& framesInWindow);
    // The reduction of every window that counts, per channel.
    std::vector<std::vector<double>> reductions() const;

    int channels;
    size_t windowFrames;
    double inputPower;
    std::vector<std::vector<double>> inputEnergies;
    std::vector<std::vector<double>> outputEnergies;
    size_t inputFramesInWindow;
    size_t outputFramesInWindow;
};
