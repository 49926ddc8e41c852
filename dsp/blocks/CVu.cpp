#include "blocks/CVu.h"

#include <algorithm>
#include <cmath>

namespace
{
// Smallest reading in both modes.
constexpr float floorLevel = 1e-8f;
constexpr float minSampleRate = 22050.0f;
constexpr float maxSampleRate = 192000.0f;
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
    // value and wasRead are loaded and stored per sample: a reader on the
    // user-interface thread may take the reading in the middle of a block,
    // and a peak that arrives after its read must stay held.
    if (!inverted)
    {
        for (uint32_t i = 0; i < count; ++i)
        {
            const float level = static_cast<float>(std::fabs(static_cast<double>(samples[i])));
            const float current = value.load(relaxed);
            if (level > current)
            {
                value.store(level, relaxed);
                wasRead.store(false, relaxed);
            }
            else if (current > floorLevel && wasRead.load(relaxed))
            {
                value.store(current * fall, relaxed);
            }
        }
        return;
    }
    for (uint32_t i = 0; i < count; ++i)
    {
        const float level = static_cast<float>(std::fabs(static_cast<double>(samples[i])));
        const float current = value.load(relaxed);
        if (level >= current)
        {
            if (upperLimit > current && wasRead.load(relaxed))
                value.store(std::min(current * rise, upperLimit), relaxed);
        }
        else
        {
            value.store(std::max(floorLevel, level), relaxed);
            wasRead.store(false, relaxed);
        }
    }
}

void CVu::setTime(float seconds, float sampleRate, int decimation)
{
    // Limits first, so that a NaN lands on a limit rather than in the state.
    sampleRate = std::min(maxSampleRate, std::max(minSampleRate, sampleRate));
    seconds = std::max(minSeconds, seconds);
    const float updateRate = sampleRate / static_cast<float>(decimation);
    fall = std::exp(-1.0f / (seconds * updateRate));
    rise = std::exp(1.0f / (seconds * updateRate));
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
