#pragma once

#include "blocks/C1LPF.h"
#include "blocks/ChannelLanes.h"

// Up to four filters side by side for a block, with poles and states in
// registers; finish() stores the states back.
class C1LPF::Lanes
{
public:
    Lanes(C1LPF* const* filters, int count)
        : filters(filters),
          count(count),
          pole(ChannelLanes::gather(filters, count, [](C1LPF* f) -> float& { return f->pole; })),
          state(ChannelLanes::gather(filters, count, [](C1LPF* f) -> float& { return f->state; }))
    {
    }

    // y = pole*(state - x) + x, which is (1 - p)*x + p*state.
    __m128 lowpass(__m128 x)
    {
        state = _mm_add_ps(_mm_mul_ps(pole, _mm_sub_ps(state, x)), x);
        return state;
    }

    // The complementary high-pass: the input minus the low-pass.
    __m128 highpass(__m128 x)
    {
        return _mm_sub_ps(x, lowpass(x));
    }

    void finish()
    {
        ChannelLanes::scatter(filters, count, [](C1LPF* f) -> float& { return f->state; }, state);
    }

private:
    C1LPF* const* filters;
    int count;
    __m128 pole;
    __m128 state;
};
