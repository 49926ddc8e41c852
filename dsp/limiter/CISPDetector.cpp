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

int CISPDetector::getLatency() const
{
    return latency;
}
