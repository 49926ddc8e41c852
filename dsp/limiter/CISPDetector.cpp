#include "limiter/CISPDetector.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace
{
constexpr float minSampleRate = 22050.0f;
constexpr float maxSampleRate = 192000.0f;
}

CISPDetector::CISPDetector(float sampleRate)
    : latency(1)
{
    setSampleRate(sampleRate);
}

void CISPDetector::process(const float* x)
{
    history[3] = history[2];
    history[2] = history[1];
    history[1] = history[0];
    history[0] = *x;
    const float h0 = history[0];
    const float h1 = history[1];
    const float h2 = history[2];
    const float h3 = history[3];

    // Four-tap polyphase interpolation at a quarter, a half and three quarters
    // of the way from h1 to h2 (the outer two are mirror images).
    const float threeQuarterWay = -0.033620026f * h0 + 0.23381723f * h1 + 0.9010235f * h2 - 0.10642114f * h3;
    const float halfWay = -0.08734027f * (h0 + h3) + 0.58519703f * (h1 + h2);
    const float quarterWay = -0.10642114f * h0 + 0.9010235f * h1 + 0.23381723f * h2 - 0.033620026f * h3;
    // h1 itself through a short symmetric correction.
    const float atSample = -0.013404376f * (h0 + h2) + 1.028367f * h1;

    peak = std::max({peak, std::fabs(h1), std::fabs(threeQuarterWay), std::fabs(halfWay),
                     std::fabs(quarterWay), std::fabs(atSample)});
}

void CISPDetector::process(const float* x, int count)
{
    for (int i = 0; i < count; ++i)
        process(x + i);
}

void CISPDetector::clear()
{
    lowpass.clear();
    peak = 0.0f;
    std::fill(std::begin(history), std::end(history), 0.0f);
}

void CISPDetector::setSampleRate(float fs)
{
    fs = std::min(maxSampleRate, std::max(minSampleRate, fs));
    lowpass.setNormFreq(1.0f / fs);
    clear();
}

float CISPDetector::readPeak()
{
    const float held = peak;
    peak = 0.0f;
    return held;
}

int CISPDetector::getLatency() const
{
    return latency;
}
