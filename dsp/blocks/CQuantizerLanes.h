#pragma once

#include "blocks/CQuantizer.h"
#include "blocks/ChannelLanes.h"

// Up to four quantizers side by side for a block, with coefficients and
// filter states in registers; finish() stores the states back. The
// caller draws the dither (one draw per sample of an active lane, in the
// order it wants the generator used).
class CQuantizer::Lanes
{
public:
    Lanes(CQuantizer* const* quantizers, int count) : quantizers(quantizers), count(count)
    {
        using ChannelLanes::gather;
        alignas(16) int32_t on[ChannelLanes::width] = {};
        for (int k = 0; k < count; ++k)
            on[k] = quantizers[k]->bits > 0 ? -1 : 0;
        active = _mm_castsi128_ps(_mm_load_si128(reinterpret_cast<const __m128i*>(on)));
        const int inUse = (1 << count) - 1;
        everyLaneActive = (_mm_movemask_ps(active) & inUse) == inUse;
        const __m128 scale = gather(quantizers, count, [](CQuantizer* q) -> float& { return q->scale; });
        headroomScale = _mm_sub_ps(scale, _mm_set1_ps(headroomSteps));
        top = _mm_sub_ps(scale, _mm_set1_ps(1.0f));
        bottom = _mm_xor_ps(scale, _mm_set1_ps(-0.0f));
        invScale = gather(quantizers, count, [](CQuantizer* q) -> float& { return q->invScale; });
        a1 = gather(quantizers, count, [](CQuantizer* q) -> float& { return q->a1; });
        minusA2 = _mm_xor_ps(gather(quantizers, count, [](CQuantizer* q) -> float& { return q->a2; }), _mm_set1_ps(-0.0f));
        c1 = gather(quantizers, count, [](CQuantizer* q) -> float& { return q->c1; });
        c2 = gather(quantizers, count, [](CQuantizer* q) -> float& { return q->c2; });
        s0 = gather(quantizers, count, [](CQuantizer* q) -> float& { return q->s0; });
        s1 = gather(quantizers, count, [](CQuantizer* q) -> float& { return q->s1; });
        s2 = gather(quantizers, count, [](CQuantizer* q) -> float& { return q->s2; });
    }

    // The quantised samples of the active lanes; inactive lanes pass x
    // unchanged and keep their state.
    __m128 quantize(__m128 x, __m128 dither)
    {
        const __m128 v = _mm_sub_ps(_mm_mul_ps(x, headroomScale), s0);
        __m128 q = floor(_mm_add_ps(v, dither));
        q = _mm_min_ps(top, q);
        q = _mm_max_ps(bottom, q);
        // Error against the centre of the floor step.
        const __m128 error = _mm_add_ps(_mm_sub_ps(q, v), _mm_set1_ps(0.5f));
        const __m128 n0 = _mm_add_ps(_mm_mul_ps(c1, error), s1);
        const __m128 n1 = _mm_add_ps(_mm_sub_ps(_mm_mul_ps(c2, error), _mm_mul_ps(a1, n0)), s2);
        const __m128 n2 = _mm_mul_ps(minusA2, n0);
        // Lanes past the count may run as if active: nothing reads them.
        if (everyLaneActive)
        {
            s0 = n0;
            s1 = n1;
            s2 = n2;
            return _mm_mul_ps(q, invScale);
        }
        using ChannelLanes::select;
        s0 = select(active, n0, s0);
        s1 = select(active, n1, s1);
        s2 = select(active, n2, s2);
        return select(active, _mm_mul_ps(q, invScale), x);
    }

    void finish()
    {
        using ChannelLanes::scatter;
        scatter(quantizers, count, [](CQuantizer* q) -> float& { return q->s0; }, s0);
        scatter(quantizers, count, [](CQuantizer* q) -> float& { return q->s1; }, s1);
        scatter(quantizers, count, [](CQuantizer* q) -> float& { return q->s2; }, s2);
    }

private:
    // std::floor in SSE2: below 2^23 a float may have a fraction, so
    // truncate, step down where truncation went up, and keep the sign
    // (the floor of -0 is -0); from 2^23 up, and for NaN and infinities,
    // a float is its own floor.
    static __m128 floor(__m128 v)
    {
        const __m128 truncated = _mm_cvtepi32_ps(_mm_cvttps_epi32(v));
        const __m128 stepDown = _mm_and_ps(_mm_cmpgt_ps(truncated, v), _mm_set1_ps(1.0f));
        const __m128 sign = _mm_and_ps(v, _mm_set1_ps(-0.0f));
        const __m128 fractional = _mm_cmplt_ps(ChannelLanes::magnitude(v), _mm_set1_ps(8388608.0f));
        return ChannelLanes::select(fractional, _mm_or_ps(_mm_sub_ps(truncated, stepDown), sign), v);
    }

    CQuantizer* const* quantizers;
    int count;
    __m128 active;
    bool everyLaneActive;
    __m128 headroomScale; // scale - headroomSteps
    __m128 top;           // scale - 1
    __m128 bottom;        // -scale
    __m128 invScale;
    __m128 a1, minusA2, c1, c2;
    __m128 s0, s1, s2;
};
