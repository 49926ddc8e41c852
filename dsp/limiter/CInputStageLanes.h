#pragma once

#include "blocks/C1LPFLanes.h"
#include "limiter/CInputStage.h"

// The high-pass and the delay line of one pair, sample by sample, with
// the filter states in registers; finish() stores them back.
class CInputStage::Lanes
{
public:
    Lanes(CInputStage& stage, const LimiterLanes::Chunk& chunk)
        : filter(stage.filter.pair(chunk.first / LimiterLanes::pairWidth), chunk.count),
          delay(stage.delay[size_t(chunk.first / LimiterLanes::pairWidth)].frames)
    {
    }

    // Sample i at write position w: its output tap is read before the
    // next sample overwrites it.
    void process(LimiterLanes::Chunk& chunk, int i, int w)
    {
        _mm_store_ps(chunk.delayed[i], _mm_load_ps(delay[(w + 1) & LimiterLanes::delayMask]));
        _mm_store_ps(delay[w], filter.highpass(_mm_load_ps(chunk.input[i])));
    }

    void finish() { filter.finish(); }

private:
    C1LPF::Lanes filter;
    LimiterLanes::LaneFrame* delay;
};
