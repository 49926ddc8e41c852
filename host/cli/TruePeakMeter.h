#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <vector>

// The ITU-R BS.1770 true-peak meter: each channel is oversampled (4x below
// 96 kHz, 2x below 192 kHz, not at all above) by a windowed-sinc polyphase
// interpolator of 12 taps per phase, and the largest magnitude of the
// original and the interpolated samples is the true peak. The original
// samples are one phase of the interpolator (the kernel is zero at the other
// whole-sample offsets), so only the fractional phases are computed, four
// output samples at a time in SSE2 lanes.
class TruePeakMeter
{
public:
    static constexpr int taps = 12;
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
    // The coefficient of sample `tap` for the interpolated value `phase`/factor
    // of a sample after the oldest sample of the window's centre pair.
    static float coefficient(int factor, int phase, int tap);

private:
    int channels;
    int factor;
    template <int Phases> __m128 interpolatedPeak(const float* newest) const;

    // [phase - 1][tap], tap 0 weighing the newest sample, in every lane.
    __m128 broadcastKernel[(largestFactor - 1) * taps];
    // Per channel: the last taps - 1 samples, then the block being measured.
    std::vector<std::vector<float>> lanes;
    std::vector<float> truePeaks;
    std::vector<float> samplePeaks;
    float held;
};
