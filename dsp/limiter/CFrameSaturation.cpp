#include "limiter/CFrameSaturation.h"

#include "blocks/ChannelLanes.h"
#include "processor/CPsychoProcessor.h"

#include <algorithm>
#include <cmath>

namespace
{
// The distortion of the polynomial soft clipper, sat(x) - x, for four
// samples. sat has unity slope at 0 and is flat at +-1 from +-2 on:
// x - 0.25*x*x above 0, x + 0.25*x*x at and below 0; each lane takes the
// value the scalar branches would.
__m128 softClipResidual(__m128 x)
{
    using ChannelLanes::select;
    const __m128 bend = _mm_mul_ps(_mm_mul_ps(_mm_set1_ps(0.25f), x), x);
    __m128 sat = select(_mm_cmpgt_ps(x, _mm_setzero_ps()), _mm_sub_ps(x, bend), _mm_add_ps(x, bend));
    sat = select(_mm_cmple_ps(x, _mm_set1_ps(-2.0f)), _mm_set1_ps(-1.0f), sat);
    sat = select(_mm_cmpge_ps(x, _mm_set1_ps(2.0f)), _mm_set1_ps(1.0f), sat);
    return _mm_sub_ps(sat, x);
}

// The largest magnitude in a frame, four lanes at a time. Frame samples are
// finite (the framework zeroes anything else), so the maximum does not
// depend on the order of the comparisons; frames are a power of two long,
// at least 4.
float framePeak(const float* frame, int length)
{
    __m128 peak = _mm_setzero_ps();
    for (int j = 0; j < length; j += 4)
        peak = _mm_max_ps(peak, ChannelLanes::magnitude(_mm_loadu_ps(frame + j)));
    peak = _mm_max_ps(peak, _mm_movehl_ps(peak, peak));
    peak = _mm_max_ss(peak, _mm_shuffle_ps(peak, peak, _MM_SHUFFLE(1, 1, 1, 1)));
    return _mm_cvtss_f32(peak);
}
}

CFrameSaturation::CFrameSaturation(int channels, int frameLength, int fftLength)
    : frameLength(frameLength),
      residualFrame(size_t(frameLength), 0.0f),
      residualSpectrum(size_t(fftLength), 0.0f),
      maskThreshold(size_t(fftLength / 2), 0.0f),
      residualBandPower(size_t(fftLength / 2), 0.0f),
      inputBandPower(size_t(channels), std::vector<float>(size_t(fftLength / 2), 0.0f))
{
}

void CFrameSaturation::clear()
{
    for (auto* buffer : {&residualFrame, &residualSpectrum, &maskThreshold, &residualBandPower})
        std::fill(buffer->begin(), buffer->end(), 0.0f);
    for (auto& power : inputBandPower)
        std::fill(power.begin(), power.end(), 0.0f);
}

float CFrameSaturation::process(CPsychoProcessor& processor, int channel, const Frame& frame, const int* binsPerBand,
                                int bands, float powerCoef, float gain, float clip, float amount)
{
    float* power = inputBandPower[size_t(channel)].data();
    if (amount <= 0.0f)
    {
        processor.copyFrame(frame.input, frame.output);
        return 1.0f;
    }

    const float p = gain * framePeak(frame.input, frameLength);
    float* spectrum = frame.spectrum;
    if (p <= clip)
    {
        processor.copyFrame(frame.input, frame.output);
        processor.transform(frame.input, spectrum, false);
        processor.bandPower(spectrum, spectrum, power, powerCoef);
        return 1.0f;
    }

    // The frame would clip: add the soft clipper's distortion where the
    // signal itself masks it. The residual stays at the scale of k*x.
    processor.transform(frame.input, spectrum, false);
    const __m128 k = _mm_set1_ps(2.0f * gain / p);
    for (int j = 0; j < frameLength; j += 4)
        _mm_storeu_ps(residualFrame.data() + j, softClipResidual(_mm_mul_ps(k, _mm_loadu_ps(frame.input + j))));
    float* residual = residualSpectrum.data();
    processor.transform(residualFrame.data(), residual, false);
    processor.bandPower(spectrum, spectrum, power, powerCoef);
    processor.bandPower(residual, residual, residualBandPower.data(), 0.0f);
    processor.maskingThreshold(power, maskThreshold.data(), true, true);

    float* modified = frame.modified;
    float inSum = 0.0f;
    float resSum = 0.0f;
    int bin = 0;
    for (int b = 0; b < bands; ++b)
    {
        const float resPower = residualBandPower[size_t(b)];
        float wb = amount * 4.0f * std::sqrt(maskThreshold[size_t(b)] / (resPower + 0.01f));
        wb = std::min(wb, p - clip);
        wb = std::max(wb, 0.0f);
        wb = std::min(wb, 1.0f);
        for (int end = bin + binsPerBand[b]; bin < end; ++bin)
        {
            modified[2 * bin] = spectrum[2 * bin] + wb * residual[2 * bin];
            modified[2 * bin + 1] = spectrum[2 * bin + 1] + wb * residual[2 * bin + 1];
        }
        inSum += power[b];
        resSum += wb * wb * resPower;
    }
    processor.transform(frame.output, modified, true);

    const float inLevel = std::sqrt(inSum);
    return std::max((inLevel - std::sqrt(resSum)) / (inLevel + 1e-8f), 0.5f);
}
