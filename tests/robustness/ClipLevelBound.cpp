#include "ClipLevelBound.h"

#include <algorithm>
#include <cmath>

namespace
{
// Into 0..1; a NaN (never read back, since the plug-in ignores it) to 0.
double inRange(float value)
{
    return value > 0.0f ? std::min(static_cast<double>(value), 1.0) : 0.0;
}

double onGrid(double level, int bits)
{
    if (bits <= 2)
    {
        return level;
    }
    const double steps = std::ldexp(1.0, bits - 1);
    return std::floor(level * steps) / steps;
}
}

double ClipLevelBound::ceiling(float ceilingValue)
{
    // The plug-in computes dB = -10 + 10 v and 10^(dB * 0.05) in floats: the
    // dB value is off by at most half an ulp (6e-8 |dB|), its product with
    // 0.05 by another, and powf by about one ulp of the result. In relative
    // terms of the ceiling: 1.2e-7 + 0.115 * 1.2e-7 |dB|; the margin is
    // more than twice that.
    const double dB = -10.0 + 10.0 * inRange(ceilingValue);
    const double margin = 4e-7 + 3e-8 * std::fabs(dB);
    return std::pow(10.0, dB / 20.0) * (1.0 + margin);
}

double ClipLevelBound::of(float ceilingValue, float wordLengthValue)
{
    const double level = ceiling(ceilingValue);
    // Steps of 8 bits at 3 v + 0.5 truncated. A value within float rounding
    // of a step boundary could land on either side: take the higher bound.
    const double units = 3.0 * inRange(wordLengthValue) + 0.5;
    const int below = 8 * static_cast<int>(std::floor(units - 1e-6));
    const int above = 8 * static_cast<int>(std::floor(units + 1e-6));
    return std::max(onGrid(level, below), onGrid(level, above));
}
