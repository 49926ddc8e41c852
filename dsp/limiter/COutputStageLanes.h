#pragma once

#include "blocks/CQuantizerLanes.h"
#include "limiter/COutputStage.h"

// One pair's quantizers and clip, sample by sample, with their states
// in registers; finish() stores them back.
class COutputStage::Lanes
{
public:
    Lanes(COutputStage& stage, const LimiterLanes::Chunk& chunk, float clipLevel)
        : quantizer(stage.quantizer.pair(chunk.first / LimiterLanes::pairWidth), chunk.count),
          clip(_mm_set1_ps(clipLevel)),
          minusClip(_mm_set1_ps(-clipLevel))
    {
    }

    template <bool quantizing>
    __m128 process(__m128 y, __m128 dither)
    {
        if constexpr (quantizing)
            y = quantizer.quantize(y, dither);
        // min(max(y, -clip), clip) with std::min's and std::max's order.
        return _mm_min_ps(clip, _mm_max_ps(minusClip, y));
    }

    void finish() { quantizer.finish(); }

private:
    CQuantizer::Lanes quantizer;
    __m128 clip;
    __m128 minusClip;
};
