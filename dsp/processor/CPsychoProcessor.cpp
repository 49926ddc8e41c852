#include "processor/CPsychoProcessor.h"

#include <algorithm>

namespace
{
// Spreading reaches eight bands each way in the normalisation.
constexpr int spreadReach = 8;
constexpr float maskingOffset = 0.03162f; // -15 dB
}

CPsychoProcessor::CPsychoProcessor(int inputs, int outputs, int fftLength_, int frameLength_, int hop_, int windowType_)
    : CSBProcessor(inputs, outputs, fftLength_, frameLength_, hop_, windowType_),
      reciprocal(size_t(fftLength_ / 2), 0.0f),
      spreadSum(size_t(fftLength_ / 2), 0.0f)
{
    smoothTime = 0.01f;
    CSBProcessor::update();
}

void CPsychoProcessor::maskingThreshold(const float* power, float* mask, bool normalise, bool weighted)
{
    const int bands = bandCount;
    float acc = 0.0f;
    for (int b = 0; b < bands; ++b)
    {
        acc = acc * upSpread + power[b];
        mask[b] = acc;
    }
    acc = 0.0f;
    for (int b = bands - 1; b >= 0; --b)
    {
        acc = acc * downSpread;
        mask[b] += acc;
        acc += power[b];
    }
    for (int b = 0; b < bands; ++b)
        mask[b] = mask[b] * maskingOffset + threshold[size_t(b)];

    if (normalise)
    {
        // Divide out the spreading's own gain: a band's threshold becomes
        // the reciprocal of the spread reciprocals of its neighbours.
        for (int j = 0; j < bands; ++j)
            reciprocal[size_t(j)] = 1.0f / (mask[j] + 1e-16f);
        for (int b = 0; b < bands; ++b)
        {
            float sum = 0.0f;
            float spread = 1.0f;
            for (int j = b; j < std::min(bands, b + spreadReach); ++j)
            {
                sum += reciprocal[size_t(j)] * spread;
                spread *= upSpread;
            }
            spread = downSpread;
            for (int j = b - 1; j >= std::max(0, b - spreadReach); --j)
            {
                sum += reciprocal[size_t(j)] * spread;
                spread *= downSpread;
            }
            spreadSum[size_t(b)] = sum;
        }
        for (int b = 0; b < bands; ++b)
            mask[b] = 1.0f / spreadSum[size_t(b)];
    }

    if (weighted)
    {
        for (int b = 0; b < bands; ++b)
            mask[b] *= weight[size_t(b)];
    }
}
