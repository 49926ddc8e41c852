#pragma once

#include "blocks/ChannelLanes.h"
#include "limiter/CSlidingMaximum.h"

// The hold rule over the block findRescans() prepared, sample by sample,
// with its state in registers; finish() stores it back. The hold is kept as
// the last sample it lasts (counted from the block's first) rather than as
// samples left, so that a sample's test of it waits for nothing but the
// sample before. A new maximum overrides an expiry, so the expiry test need
// not exclude it.
class CSlidingMaximum::Hold
{
public:
    Hold(CSlidingMaximum& queue, const LaneFrame* detection, int lookahead)
        : queue(queue),
          detection(detection),
          rescanMax(queue.segmentEndMax + lookahead),
          rescanEnd(queue.segmentEndAt + lookahead),
          hold(_mm_load_ps(queue.holdMax)),
          lastSample(_mm_sub_epi32(_mm_load_si128(reinterpret_cast<const __m128i*>(queue.holdCount)), one())),
          sample(_mm_setzero_si128()),
          newHoldEnd(_mm_set1_epi32(lookahead))
    {
    }

    // The held maxima of sample n; samples come in order from 0.
    __m128 next(int n)
    {
        using ChannelLanes::select;
        using ChannelLanes::selectInt;
        const __m128 d = _mm_load_ps(detection[n]);
        const __m128 newMax = _mm_cmpge_ps(d, hold);
        const __m128 expired = _mm_castsi128_ps(_mm_cmpgt_epi32(sample, lastSample));
        hold = select(newMax, d, select(expired, _mm_load_ps(rescanMax[n]), hold));
        lastSample = selectInt(newMax, newHoldEnd,
            selectInt(expired, _mm_load_si128(reinterpret_cast<const __m128i*>(rescanEnd[n])), lastSample));
        sample = _mm_add_epi32(sample, one());
        newHoldEnd = _mm_add_epi32(newHoldEnd, one());
        return hold;
    }

    // After the block's count samples.
    void finish(int count)
    {
        _mm_store_ps(queue.holdMax, hold);
        _mm_store_si128(reinterpret_cast<__m128i*>(queue.holdCount),
            _mm_sub_epi32(lastSample, _mm_set1_epi32(count - 1)));
    }

private:
    static __m128i one() { return _mm_set1_epi32(1); }

    CSlidingMaximum& queue;
    const LaneFrame* detection;
    const LaneFrame* rescanMax;
    const int (*rescanEnd)[lanes];
    __m128 hold;
    __m128i lastSample;
    __m128i sample;
    __m128i newHoldEnd;
};
