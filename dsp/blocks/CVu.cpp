#include "blocks/CVu.h"

#include "blocks/CExactMath.h"
#include "blocks/CVuLanes.h"
#include "blocks/SampleRateRange.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr float minSeconds = 1e-8f;
constexpr auto relaxed = std::memory_order_relaxed;
}

CVu::CVu()
    : value(floorLevel), wasRead(false), inverted(false), upperLimit(1.0f)
{
    setTime(0.5f, 44100.0f, 1);
    reset();
}

void CVu::reset()
{
    value.store(inverted ? upperLimit : floorLevel, relaxed);
    wasRead.store(false, relaxed);
}

void CVu::process(const float* samples, uint32_t count)
{
    if (count == 0)
        return;
    CVu* const self = this;
    Lanes lanes(&self, 1);
    for (uint32_t i = 0; i < count; ++i)
        lanes.add(_mm_set_ss(samples[i]));
    lanes.finish();
}

void CVu::setTime(float seconds, float sampleRate, int decimation)
{
    // Limits first, so that a NaN lands on a limit rather than in the state.
    sampleRate = clampSampleRate(sampleRate);
    seconds = std::max(minSeconds, seconds);
    const float updateRate = sampleRate / static_cast<float>(decimation);
    fall = CExactMath::exp(-1.0f / (seconds * updateRate));
    rise = CExactMath::exp(1.0f / (seconds * updateRate));
}

void CVu::setInverted(bool on)
{
    if (on == inverted)
        return;
    inverted = on;
    reset();
}

void CVu::setUpperLimit(float limit)
{
    upperLimit = limit;
}

float CVu::getValue()
{
    wasRead.store(true, relaxed);
    return value.load(relaxed);
}
