#include "TruePeakMeter.h"

#include <emmintrin.h>

#include <algorithm>
#include <cmath>

namespace
{
// The largest magnitude of the interpolated values between the four samples
// from `newest` on and the ones before them: each sample is loaded once for
// every phase, each phase summed from tap 0 up; kernel is the meter's
// broadcast kernel.
template <int Phases, int Taps> __m128 interpolatedPeak(const float (*kernel)[4], const float* newest)
{
    __m128 sums[Phases];
    const __m128 first = _mm_loadu_ps(newest);
    for (int phase = 0; phase < Phases; ++phase)
    {
        sums[phase] = _mm_mul_ps(_mm_load_ps(kernel[phase * Taps]), first);
    }
    for (int tap = 1; tap < Taps; ++tap)
    {
        const __m128 samples = _mm_loadu_ps(newest - tap);
        for (int phase = 0; phase < Phases; ++phase)
        {
            sums[phase] = _mm_add_ps(sums[phase], _mm_mul_ps(_mm_load_ps(kernel[phase * Taps + tap]), samples));
        }
    }
    const __m128 signMask = _mm_set1_ps(-0.0f);
    __m128 peak = _mm_andnot_ps(signMask, sums[0]);
    for (int phase = 1; phase < Phases; ++phase)
    {
        peak = _mm_max_ps(peak, _mm_andnot_ps(signMask, sums[phase]));
    }
    return peak;
}
}

int TruePeakMeter::oversamplingFor(int sampleRate)
{
    return sampleRate < 96000 ? 4 : sampleRate < 192000 ? 2 : 1;
}

// The value interpolated at `phase`/factor after sample n - h is the sum over
// tap i of x[n-i] k(i - h + phase/factor), k a sinc under a Hann window
// reaching zero h samples either side, h = kernelTaps / factor / 2.
float TruePeakMeter::coefficient(int factor, int phase, int tap)
{
    const double pi = 3.14159265358979323846;
    const double half = kernelTaps / factor / 2;
    const double t = tap - half + static_cast<double>(phase) / factor;
    const double window = 0.5 * (1.0 + std::cos(pi * t / half));
    return static_cast<float>(window * std::sin(pi * t) / (pi * t));
}

TruePeakMeter::TruePeakMeter(int channels, int sampleRate)
    : channels(channels)
    , factor(oversamplingFor(sampleRate))
    , taps(kernelTaps / factor)
    , lanes(static_cast<size_t>(channels), std::vector<float>(static_cast<size_t>(taps - 1), 0.0f))
    , truePeaks(static_cast<size_t>(channels), 0.0f)
    , samplePeaks(static_cast<size_t>(channels), 0.0f)
    , held(0.0f)
{
    for (int phase = 1; phase < factor; ++phase)
    {
        for (int tap = 0; tap < taps; ++tap)
        {
            std::fill_n(broadcastKernel[(phase - 1) * taps + tap], 4, coefficient(factor, phase, tap));
        }
    }
}

void TruePeakMeter::addFrames(const float* interleaved, size_t frames)
{
    const int phases = factor - 1;
    const size_t history = static_cast<size_t>(taps - 1);
    if (phases == 0)
    {
        // No oversampling: the true peak is the sample peak.
        for (int channel = 0; channel < channels; ++channel)
        {
            float samplePeak = 0.0f;
            for (size_t frame = 0; frame < frames; ++frame)
            {
                samplePeak = std::max(
                    samplePeak,
                    std::fabs(interleaved[frame * static_cast<size_t>(channels) + static_cast<size_t>(channel)]));
            }
            samplePeaks[static_cast<size_t>(channel)] = std::max(samplePeaks[static_cast<size_t>(channel)], samplePeak);
            truePeaks[static_cast<size_t>(channel)] = samplePeaks[static_cast<size_t>(channel)];
            held = std::max(held, samplePeak);
        }
        return;
    }
    for (int channel = 0; channel < channels; ++channel)
    {
        std::vector<float>& lane = lanes[static_cast<size_t>(channel)];
        // Room for a last group of four that runs past the block.
        lane.resize(history + frames + 3);
        float samplePeak = 0.0f;
        for (size_t frame = 0; frame < frames; ++frame)
        {
            const float sample = interleaved[frame * static_cast<size_t>(channels) + static_cast<size_t>(channel)];
            lane[history + frame] = sample;
            samplePeak = std::max(samplePeak, std::fabs(sample));
        }
        std::fill(lane.end() - 3, lane.end(), 0.0f);

        __m128 peak = _mm_setzero_ps();
        const size_t whole = frames & ~size_t{3};
        for (size_t frame = 0; frame < frames; frame += 4)
        {
            const float* newest = lane.data() + history + frame;
            __m128 groupPeak = phases == 3 ? interpolatedPeak<3, kernelTaps / 4>(broadcastKernel, newest)
                                           : interpolatedPeak<1, kernelTaps / 2>(broadcastKernel, newest);
            if (frame >= whole)
            {
                // Only the block's own frames of the last partial group count.
                alignas(16) float values[4];
                _mm_store_ps(values, groupPeak);
                std::fill(values + (frames - whole), values + 4, 0.0f);
                groupPeak = _mm_load_ps(values);
            }
            peak = _mm_max_ps(peak, groupPeak);
        }
        alignas(16) float values[4];
        _mm_store_ps(values, peak);
        const float interpolated = std::max(std::max(values[0], values[1]), std::max(values[2], values[3]));
        const float channelPeak = std::max(interpolated, samplePeak);
        truePeaks[static_cast<size_t>(channel)] = std::max(truePeaks[static_cast<size_t>(channel)], channelPeak);
        samplePeaks[static_cast<size_t>(channel)] = std::max(samplePeaks[static_cast<size_t>(channel)], samplePeak);
        held = std::max(held, channelPeak);
        std::copy(lane.begin() + static_cast<long>(frames), lane.begin() + static_cast<long>(frames + history),
                  lane.begin());
        lane.resize(history);
    }
}

float TruePeakMeter::takeHeldPeak()
{
    const float peak = held;
    held = 0.0f;
    return peak;
}
