#pragma once

#include "blocks/CVu.h"
#include "blocks/ChannelLanes.h"

// The ballistics of up to four meters side by side for a block, sample by
// sample, with the readings held in registers: loaded when the run starts,
// stored once by finish(). All the meters of one run share a mode.
//
// A reader on another thread sees the block's result at its end instead
// of part way through, which it cannot tell from reading a little earlier
// or later. No held extreme is lost: a new one is stored first and the
// hold flag after it, so a read that lands in the middle of the block (or
// between the two stores) is overruled by the hold, and the next read
// delivers the extreme before its release starts. A read in the middle
// of a block without a new extreme starts the release at the next block
// rather than at the next sample.
class CVu::Lanes
{
public:
    Lanes(CVu* const* meters, int count)
        : meters(meters), count(count), inverted(meters[0]->inverted), floor(_mm_set1_ps(floorLevel))
    {
        using ChannelLanes::gather;
        fall = gather(meters, count, [](CVu* m) -> float& { return m->fall; });
        rise = gather(meters, count, [](CVu* m) -> float& { return m->rise; });
        upperLimit = gather(meters, count, [](CVu* m) -> float& { return m->upperLimit; });
        alignas(16) float values[ChannelLanes::width] = {};
        alignas(16) int32_t read[ChannelLanes::width] = {};
        for (int k = 0; k < count; ++k)
        {
            values[k] = meters[k]->value.load(std::memory_order_relaxed);
            read[k] = meters[k]->wasRead.load(std::memory_order_relaxed) ? -1 : 0;
        }
        value = _mm_load_ps(values);
        wasRead = _mm_castsi128_ps(_mm_load_si128(reinterpret_cast<const __m128i*>(read)));
        heldNewExtreme = _mm_setzero_ps();
    }

    void add(__m128 x)
    {
        using ChannelLanes::select;
        const __m128 level = ChannelLanes::magnitude(x);
        __m128 newExtreme;
        if (_mm_movemask_ps(wasRead) == 0)
        {
            // Holding in every lane, nothing releases: the reading only
            // follows new extremes, a running maximum (normal mode) or a
            // running minimum floored at floorLevel (inverted mode).
            if (!inverted)
            {
                newExtreme = _mm_cmpgt_ps(level, value);
                value = _mm_max_ps(level, value);
            }
            else
            {
                newExtreme = _mm_cmpnge_ps(level, value);
                value = _mm_min_ps(_mm_max_ps(level, floor), value);
            }
            heldNewExtreme = _mm_or_ps(heldNewExtreme, newExtreme);
            return;
        }
        if (!inverted)
        {
            newExtreme = _mm_cmpgt_ps(level, value);
            const __m128 release = _mm_and_ps(_mm_cmpgt_ps(value, floor), wasRead);
            value = select(newExtreme, level, select(release, _mm_mul_ps(value, fall), value));
        }
        else
        {
            const __m128 atOrAbove = _mm_cmpge_ps(level, value);
            const __m128 recover = _mm_and_ps(_mm_cmpgt_ps(upperLimit, value), wasRead);
            const __m128 recovered = _mm_min_ps(upperLimit, _mm_mul_ps(value, rise));
            newExtreme = _mm_andnot_ps(atOrAbove, _mm_castsi128_ps(_mm_set1_epi32(-1)));
            value = select(newExtreme, _mm_max_ps(level, floor), select(recover, recovered, value));
        }
        wasRead = _mm_andnot_ps(newExtreme, wasRead);
        heldNewExtreme = _mm_or_ps(heldNewExtreme, newExtreme);
    }

    // A block of samples, four lanes each. Sample by sample while a lane
    // releases; from then on no lane releases before the block ends, so
    // the reading is the largest level (normal mode) or the smallest
    // floored level (inverted mode) together with the reading so far,
    // and a new extreme was held if any level went beyond the reading
    // that the hold started from. Those do not depend on the order of
    // the samples, which lets them run over two accumulators, and with
    // two samples per register when at most two lanes are in use.
    void addBlock(const float (*x)[ChannelLanes::width], int samples)
    {
        // (Inverted mode also needs the reading at or above floorLevel,
        // as it always is unless the upper limit lies below it.)
        const int inUse = (1 << count) - 1;
        const bool floored = !inverted || (_mm_movemask_ps(_mm_cmpge_ps(value, floor)) & inUse) == inUse;
        int i = 0;
        for (; i < samples && (_mm_movemask_ps(wasRead) != 0 || !floored); ++i)
            add(_mm_load_ps(x[i]));
        if (i == samples)
            return;
        if (count <= 2)
            takeExtremes<2>(x + i, samples - i);
        else
            takeExtremes<1>(x + i, samples - i);
    }

    void finish()
    {
        alignas(16) float values[ChannelLanes::width];
        _mm_store_ps(values, value);
        const int held = _mm_movemask_ps(heldNewExtreme);
        for (int k = 0; k < count; ++k)
        {
            meters[k]->value.store(values[k], std::memory_order_relaxed);
            if (held & (1 << k))
                meters[k]->wasRead.store(false, std::memory_order_relaxed);
        }
    }

private:
    // The extremes of a block, `perRegister` samples at a time (two while
    // at most two lanes are in use); an odd last sample is taken twice,
    // which changes no extreme.
    template <int perRegister>
    void takeExtremes(const float (*x)[ChannelLanes::width], int samples)
    {
        const __m128 from = perRegister == 2 ? _mm_movelh_ps(value, value) : value;
        __m128 extreme[2] = {from, from};
        __m128 beyond = _mm_setzero_ps();
        const auto take = [&](int i, int last, int k) {
            __m128 level;
            if constexpr (perRegister == 2)
                level = ChannelLanes::magnitude(ChannelLanes::loadPair(x[i], x[last]));
            else
                level = ChannelLanes::magnitude(_mm_load_ps(x[i]));
            if (!inverted)
            {
                extreme[k] = _mm_max_ps(level, extreme[k]);
                return;
            }
            beyond = _mm_or_ps(beyond, _mm_cmpnge_ps(level, from));
            extreme[k] = _mm_min_ps(_mm_max_ps(level, floor), extreme[k]);
        };
        const int whole = samples - samples % perRegister;
        int i = 0;
        for (; i + perRegister < whole; i += 2 * perRegister)
            for (int k = 0; k < 2; ++k)
                take(i + k * perRegister, i + k * perRegister + 1, k);
        for (; i < whole; i += perRegister)
            take(i, i + 1, 0);
        if (whole < samples)
            take(whole, whole, 1);

        // Both accumulators, and with two samples per register both
        // halves, into lanes 0-1.
        const auto fold = [this](__m128 a, __m128 b) { return inverted ? _mm_min_ps(a, b) : _mm_max_ps(a, b); };
        const __m128 reading = value;
        value = fold(extreme[1], extreme[0]);
        if (perRegister == 2)
        {
            value = fold(_mm_movehl_ps(value, value), value);
            beyond = _mm_or_ps(_mm_movehl_ps(beyond, beyond), beyond);
        }
        if (!inverted)
            beyond = _mm_cmpgt_ps(value, reading);
        heldNewExtreme = _mm_or_ps(heldNewExtreme, beyond);
    }

    CVu* const* meters;
    int count;
    bool inverted;
    __m128 fall;
    __m128 rise;
    __m128 upperLimit;
    __m128 floor;
    __m128 value;
    __m128 wasRead;
    __m128 heldNewExtreme;
};
