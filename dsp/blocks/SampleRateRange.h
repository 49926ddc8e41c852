#pragma once

#include <algorithm>

// The sample rates every unit is designed for; a rate outside them (or not a
// number) is taken as the nearest end, so that coefficients stay in the
// ranges their formulas were chosen for.
constexpr float minSampleRate = 22050.0f;
constexpr float maxSampleRate = 192000.0f;

inline float clampSampleRate(float rate)
{
    return std::min(maxSampleRate, std::max(minSampleRate, rate));
}
