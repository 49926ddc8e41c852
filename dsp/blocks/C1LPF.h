#pragma once

#include "blocks/ChannelLanes.h"

// One-pole low-pass for one channel, designed from a normalised corner
// frequency with an arctangent pre-warp. A new filter passes its input
// unchanged until a frequency is set.
class C1LPF
{
public:
    // Up to four filters side by side for a block, with poles and states in
    // registers; finish() stores the states back. The scalar process() is
    // one lane of it.
    class Lanes
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

    C1LPF();
    virtual ~C1LPF() = default;

    virtual void process(float* sample)
    {
        C1LPF* const self = this;
        Lanes lanes(&self, 1);
        *sample = _mm_cvtss_f32(lanes.lowpass(_mm_set_ss(*sample)));
        lanes.finish();
    }
    virtual void clear();
    virtual void setNormFreq(float normFreq);
    virtual void setTimeConstant(float seconds, float sampleRate);

protected:
    float pole;
    float state;
};
