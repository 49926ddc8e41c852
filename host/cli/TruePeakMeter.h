#pragma once

#include <cstddef>
#include <vector>

// The ITU-R BS.1770 true-peak meter: each channel is oversampled (4x below
// 96 kHz, 2x below 192 kHz, not at all above) by a windowed-sinc polyphase
// interpolator of 48 taps in all (12 per phase at 4x, 24 at 2x), and the largest magnitude of the
// original and the interpolated samples is the true peak. The original
// samples are one phase of the interpolator (the kernel is zero at the other
// whole-sample offsets), so only the fractional phases are computed, four
// output samples at a time in SSE2 lanes.
class TruePeakMeter
{
public:
    // Of the whole kernel; a phase has kernelTaps / factor.
    static constexpr int kernelTaps = 48;
    static constexpr int largestFactor = 4;

    TruePeakMeter(int channels, int sampleRate);

    void addFrames(const float* interleaved, size_t frames);
    // The largest true peak of any channel since the last call, linear; the
    // interpolated values lag the samples by half the kernel (6 frames).
    float takeHeldPeak();
    // Per channel since construction, linear.
    const std::vector<float>& getTruePeaks() const { return truePeaks; }
    const std::vector<float>& getSamplePeaks() const { return samplePeaks; }

    static int oversamplingFor(int sampleRate);
    // The weight of sample n - `tap` in the value interpolated `phase`/factor
    // of a sample after sample n - kernelTaps / factor / 2.
    static float coefficient(int factor, int phase, int tap);

private:
    int channels;
    int factor;
    int taps; // per phase

    // [phase - 1][tap], tap 0 weighing the newest sample, in every lane.
    alignas(16) float broadcastKernel[kernelTaps][4];
    // Per channel: the last taps - 1 samples, then the block being measured.
    std::vector<std::vector<float>> lanes;
    std::vector<float> truePeaks;
    std::vector<float> samplePeaks;
    float held;
};
