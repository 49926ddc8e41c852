#pragma once

#include "blocks/C1LPFLanes.h"
#include "limiter/CLimiterMeters.h"

// The mean-square smoother of one pair, sample by sample, with its state
// in registers; finish() stores it back.
class CLimiterMeters::Lanes
{
public:
    Lanes(CLimiterMeters& meters, const LimiterLanes::Chunk& chunk)
        : smoother(meters.rmsSmoother.pair(chunk.first / LimiterLanes::pairWidth), chunk.count)
    {
    }
    __m128 meanSquare(__m128 y) { return smoother.lowpass(_mm_mul_ps(y, y)); }
    void finish() { smoother.finish(); }

private:
    C1LPF::Lanes smoother;
};
