#include "blocks/C1LPF.h"

#include "blocks/C1LPFLanes.h"
#include "blocks/CExactMath.h"

#include <algorithm>
#include <cmath>

namespace
{
// Lowest normalised corner: keeps the pole strictly below 1.
constexpr float minNormFreq = 1e-8f;
constexpr float pi = 3.1415927f;
constexpr float twoPi = 6.2831855f;
}

C1LPF::C1LPF()
    : pole(0.0f)
{
    clear();
}

void C1LPF::process(float* sample)
{
    C1LPF* const self = this;
    Lanes lanes(&self, 1);
    *sample = _mm_cvtss_f32(lanes.lowpass(_mm_set_ss(*sample)));
    lanes.finish();
}

void C1LPF::clear()
{
    state = 0.0f;
}

void C1LPF::setNormFreq(float fn)
{
    // The limit comes first so that a NaN also ends up at the floor.
    pole = CExactMath::exp(-2.0f * CExactMath::atan(pi * std::max(minNormFreq, fn)));
}

void C1LPF::setTimeConstant(float seconds, float sampleRate)
{
    setNormFreq(1.0f / (twoPi * seconds * sampleRate));
}
