#include "processor/CSBProcessor.h"

#include "blocks/CExactMath.h"

#include <algorithm>
#include <cmath>

CSBProcessor::CSBProcessor(int inputs, int outputs, int fftLength_, int frameLength_, int hop_, int windowType_)
    : CFFTProcessor(inputs, outputs, fftLength_, frameLength_, hop_, windowType_),
      bandCount(0),
      binsPerBand(size_t(fftLength_ / 2), 0),
      bandCentre(size_t(fftLength_ / 2), 0.0f),
      smoothTime(0.5f),
      widthFactor(1.0f),
      powerCoef(0.0f),
      threshold(size_t(fftLength_ / 2), 0.0f),
      weight(size_t(fftLength_ / 2), 0.0f),
      upSpread(0.0f),
      downSpread(0.0f)
{
    CSBProcessor::update();
}

void CSBProcessor::update()
{
    CFFTProcessor::update();
    buildBands();
    powerCoef = CExactMath::exp(-float(hop) / (smoothTime * 0.5f * fs));
}

void CSBProcessor::buildBands()
{
    const int n = fftLength;
    const int half = n / 2;
    // Wider analysis windows smear more, so their bands are weighted down harder.
    const float slope = windowType == 0 ? 1.9f : 3.4f;

    int b = 0;
    for (int i = 0; i < half; ++b)
    {
        const float f = float(i) * fs / float(n);
        const float erb = f / 9.265f + 24.7f;
        const int w = std::max(int(float(n) * erb * widthFactor / fs + 0.5f), 1);
        const int e = std::min(i + w, half);
        binsPerBand[size_t(b)] = e - i;
        bandCentre[size_t(b)] = float(i - 1 + e) * 0.5f * fs / float(n);

        // Threshold of hearing in quiet, with the usual -100 dB reference.
        const float fc = std::min(std::max(bandCentre[size_t(b)], 20.0f), 20000.0f);
        const float F = fc / 1000.0f;
        const float dip = (F - 3.3f) * (F - 3.3f);
        const float thresholdDb = 3.64f * CExactMath::pow(F, -0.8f) - 6.5f * CExactMath::exp(-0.6f * dip) + 0.001f * CExactMath::pow(F, 4.0f)
                                  - 100.0f;
        threshold[size_t(b)] = CExactMath::exp10(0.1f * thresholdDb);

        const float x = std::min(slope * 20.0f * CExactMath::log10(erb * float(n) / fs) - 11.0f, 0.0f);
        weight[size_t(b)] = CExactMath::exp10(0.1f * x);

        i = e;
    }
    bandCount = b;
    upSpread = CExactMath::exp10(-10.0f * widthFactor * 0.1f);
    downSpread = CExactMath::exp10(-20.0f * widthFactor * 0.1f);
}

void CSBProcessor::bandPower(const float* specA, const float* specB, float* power, float coef)
{
    const float g = 2.0f * (1.0f - coef);
    int bin = 0;
    for (int b = 0; b < bandCount; ++b)
    {
        float p = power[b] * coef + g * 1e-16f;
        for (int end = bin + binsPerBand[size_t(b)]; bin < end; ++bin)
            p += g * (specA[2 * bin] * specB[2 * bin] + specA[2 * bin + 1] * specB[2 * bin + 1]);
        power[b] = p;
    }
}
