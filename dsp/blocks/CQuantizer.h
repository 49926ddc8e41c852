#pragma once

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
    // Up to four quantizers side by side (CQuantizerLanes.h); the scalar
    // process() is one lane of it.
    class Lanes;

    CQuantizer();
    virtual ~CQuantizer() = default;

    // Draws the dither itself: one draw per call when active, none otherwise.
    virtual void process(float* sample);
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
