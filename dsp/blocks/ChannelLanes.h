#pragma once

#include "blocks/LaneFrame.h"

#include <emmintrin.h>

// Up to four channels side by side, one per lane of an SSE2 register, or a
// pair of channels at two samples (lanes 0-1 and 2-3). The blocks' Lanes
// classes run the same per-sample arithmetic for several instances at
// once: lane by lane, each SSE2 operation is the IEEE operation of the
// scalar code on the same operands, so every lane gives the bits of its
// instance processed alone. Lanes past the instances start as zeros and are
// never stored back.
namespace ChannelLanes
{
// mask ? a : b, lane by lane.
inline __m128 select(__m128 mask, __m128 a, __m128 b)
{
    return _mm_or_ps(_mm_and_ps(mask, a), _mm_andnot_ps(mask, b));
}

// The same for integer lanes, under a mask from a float comparison.
inline __m128i selectInt(__m128 mask, __m128i a, __m128i b)
{
    const __m128i m = _mm_castps_si128(mask);
    return _mm_or_si128(_mm_and_si128(m, a), _mm_andnot_si128(m, b));
}

inline __m128 magnitude(__m128 v)
{
    return _mm_andnot_ps(_mm_set1_ps(-0.0f), v);
}

// Two channels at two samples: lanes 0-1 from the first two floats at a,
// lanes 2-3 from those at b.
inline __m128 loadPair(const float* a, const float* b)
{
    const __m128 low = _mm_loadl_pi(_mm_setzero_ps(), reinterpret_cast<const __m64*>(a));
    return _mm_loadh_pi(low, reinterpret_cast<const __m64*>(b));
}

inline void storePair(float* a, float* b, __m128 v)
{
    _mm_storel_pi(reinterpret_cast<__m64*>(a), v);
    _mm_storeh_pi(reinterpret_cast<__m64*>(b), v);
}

// field(object) of each of `count` objects, one per lane; field returns a
// float reference (a member, or an element of a member array).
template <typename T, typename Field>
__m128 gather(T* const* objects, int count, Field field)
{
    alignas(16) float values[width] = {};
    for (int k = 0; k < count; ++k)
        values[k] = field(objects[k]);
    return _mm_load_ps(values);
}

template <typename T, typename Field>
void scatter(T* const* objects, int count, Field field, __m128 v)
{
    alignas(16) float values[width];
    _mm_store_ps(values, v);
    for (int k = 0; k < count; ++k)
        field(objects[k]) = values[k];
}
}
