#pragma once

#include "blocks/ChannelLanes.h"
#include "blocks/RandomGenerator.h"

#include <atomic>
#include <cstdint>

// Advances the dither generator's state and returns an integer 0..32767.
inline int nextRandom()
{
    // A plain load and store, not an atomic read-modify-write: instances on
    // other threads may interleave, which only reorders the dither.
    const uint32_t state = RandomGenerator::next(randState.load(std::memory_order_relaxed));
    randState.store(state, std::memory_order_relaxed);
    return static_cast<int>((state >> 16) & 0x7FFFu);
}

// Word-length reduction of one channel with rectangular dither and a
// second-order error-feedback noise shaper shaped like a low shelf.
class CQuantizer
{
public:
    // Up to four quantizers side by side for a block, with coefficients and
    // filter states in registers; finish() stores the states back. The
    // caller draws the dither (one draw per sample of an active lane, in the
    // order it wants the generator used). The scalar process() is one lane.
    class Lanes
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

    CQuantizer();
    virtual ~CQuantizer() = default;

    // Draws the dither itself: one draw per call when active, none otherwise.
    virtual void process(float* sample)
    {
        if (bits <= 0)
            return;
        CQuantizer* const self = this;
        Lanes lanes(&self, 1);
        *sample = _mm_cvtss_f32(lanes.quantize(_mm_set_ss(*sample), _mm_set_ss(drawDither())));
        lanes.finish();
    }
    virtual void clear();
    virtual void setWordLength(int8_t bits);
    virtual void setShaping(float amount);
    virtual void setRate(float fs);

    // False in pass-through (a word length of 0 or less).
    bool isActive() const { return bits > 0; }

    // One draw of the rectangular dither of one step: (0..32767 - 16384) / 32768.
    static float drawDither()
    {
        float draw;
        drawDither(&draw, 1);
        return draw;
    }

    // `count` draws in a row, the values of as many drawDither() calls, with
    // the generator's state loaded once and stored once, so that the
    // generator runs in a register. An instance on another thread drawing at
    // the same moment may then draw some of the same values (the race of
    // single draws, made likelier), which leaves each dither rectangular.
    static void drawDither(float* draws, int count)
    {
        // Four interleaved streams, each stepping four states at once:
        // x -> a^4 x + c (a^3 + a^2 + a + 1) modulo 2^32 is exactly four
        // single steps, and the four multiplications run side by side.
        constexpr uint32_t a = RandomGenerator::multiplier;
        constexpr uint32_t c = RandomGenerator::increment;
        constexpr uint32_t a4 = a * a * a * a;
        constexpr uint32_t c4 = c * (a * a * a + a * a + a + 1u);
        uint32_t state = randState.load(std::memory_order_relaxed);
        uint32_t stream[4];
        uint32_t next = state;
        for (uint32_t& x : stream)
            x = next = RandomGenerator::next(next);
        int k = 0;
        for (; k + 4 <= count; k += 4)
        {
            for (int j = 0; j < 4; ++j)
                draws[k + j] = ditherOf(stream[j]);
            state = stream[3];
            for (uint32_t& x : stream)
                x = x * a4 + c4;
        }
        for (; k < count; ++k)
        {
            state = RandomGenerator::next(state);
            draws[k] = ditherOf(state);
        }
        randState.store(state, std::memory_order_relaxed);
    }

private:
    // Steps kept free below full scale for the dither and the shaped noise.
    static constexpr float headroomSteps = 7.0f;

    // The draw of drawDither() made from a generator state.
    static float ditherOf(uint32_t state)
    {
        return static_cast<float>(static_cast<int>((state >> 16) & 0x7FFFu) - 16384) * 3.0517578e-5f;
    }

    void updateCoefficients();

    float sampleRate;
    int8_t bits;
    float shaping;
    float scale;
    float invScale;
    float a1, a2;
    float c1, c2;
    float s0, s1, s2;
};
