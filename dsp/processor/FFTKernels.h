#pragma once

// The FFT's SSE2 kernels: butterflies and split-step pairs on two complex
// points per register. Each forms its values with the same operations on
// the same operands as the scalar code of the transform, so the bits are
// the scalar code's.
#include <emmintrin.h>

namespace FFTKernels
{
// Two complex points (re, im, re, im) per register. Negating a lane by its
// sign bit is exact, and a + (-b) is a - b, so the sign masks below only
// choose between the additions and subtractions of the scalar form.
const __m128 negateEven = _mm_castsi128_ps(_mm_set_epi32(0, int(0x80000000u), 0, int(0x80000000u)));
const __m128 negateOdd = _mm_castsi128_ps(_mm_set_epi32(int(0x80000000u), 0, int(0x80000000u), 0));
const __m128 negateHigh = _mm_castsi128_ps(_mm_set_epi32(int(0x80000000u), int(0x80000000u), 0, 0));

// (a, b, c, d) -> (b, a, d, c): each point's real and imaginary parts swapped.
inline __m128 swapParts(__m128 v)
{
    return _mm_shuffle_ps(v, v, _MM_SHUFFLE(2, 3, 0, 1));
}

// (p0, p1) -> (p1, p0): the two points exchanged.
inline __m128 swapPoints(__m128 v)
{
    return _mm_shuffle_ps(v, v, _MM_SHUFFLE(1, 0, 3, 2));
}

// k*z for both points, k given as (kr, kr, kr', kr') and (ki, ki, ki', ki'):
// (kr*zr - ki*zi, kr*zi + ki*zr).
inline __m128 multiply(__m128 z, __m128 kr, __m128 ki)
{
    return _mm_add_ps(_mm_mul_ps(kr, z), _mm_xor_ps(_mm_mul_ps(ki, swapParts(z)), negateEven));
}

// (x1r - x3i, x1i + x3r) and (x1r + x3i, x1i - x3r).
inline __m128 plusITimes(__m128 x1, __m128 x3)
{
    return _mm_add_ps(x1, _mm_xor_ps(swapParts(x3), negateEven));
}
inline __m128 minusITimes(__m128 x1, __m128 x3)
{
    return _mm_add_ps(x1, _mm_xor_ps(swapParts(x3), negateOdd));
}

// (a - b, a + b) from (a, b), for both points.
inline __m128 differenceAndSum(__m128 ab)
{
    const __m128 a = _mm_shuffle_ps(ab, ab, _MM_SHUFFLE(2, 2, 0, 0));
    const __m128 b = _mm_shuffle_ps(ab, ab, _MM_SHUFFLE(3, 3, 1, 1));
    return _mm_add_ps(a, _mm_xor_ps(b, negateEven));
}

// Four complex points of a butterfly in, and out again in the same places.
struct Quad
{
    __m128 p0, p1, p2, p3;
};

// The butterfly's first sums: x0 = p0 + p1, x1 = p0 - p1, x2 = p2 + p3, x3 = p2 - p3.
inline Quad sums(const Quad& p)
{
    return {_mm_add_ps(p.p0, p.p1), _mm_sub_ps(p.p0, p.p1), _mm_add_ps(p.p2, p.p3), _mm_sub_ps(p.p2, p.p3)};
}

// Where no twiddle applies.
inline Quad plainForm(const Quad& p)
{
    const Quad x = sums(p);
    return {_mm_add_ps(x.p0, x.p2), plusITimes(x.p1, x.p3), _mm_sub_ps(x.p0, x.p2), minusITimes(x.p1, x.p3)};
}

// The eighth-turn group, s = cos(pi/4) in every lane.
inline Quad eighthTurnForm(const Quad& p, __m128 s)
{
    const Quad x = sums(p);
    // (x2i - x0i, x0r - x2r)
    const __m128 turned = _mm_sub_ps(swapParts(x.p2), swapParts(x.p0));
    const __m128 plain = _mm_sub_ps(x.p0, x.p2);
    const __m128 mixed = _mm_shuffle_ps(turned, plain, _MM_SHUFFLE(2, 0, 2, 0));
    // (x3i + x1r, x3r - x1i), then its parts swapped so that (v - u, v + u)
    // comes out of the same helper as (u - v, u + v).
    const __m128 uv3 = _mm_add_ps(swapParts(x.p3), _mm_xor_ps(x.p1, negateOdd));
    return {_mm_add_ps(x.p0, x.p2), _mm_mul_ps(s, differenceAndSum(plusITimes(x.p1, x.p3))),
        _mm_shuffle_ps(mixed, mixed, _MM_SHUFFLE(3, 1, 2, 0)), _mm_mul_ps(s, differenceAndSum(swapParts(uv3)))};
}

// The three twiddles of a butterfly as multiply() takes them.
struct Twiddles
{
    __m128 k1r, k1i, k2r, k2i, k3r, k3i;
};

inline Quad twiddledForm(const Quad& p, const Twiddles& k)
{
    const Quad x = sums(p);
    return {_mm_add_ps(x.p0, x.p2), multiply(plusITimes(x.p1, x.p3), k.k1r, k.k1i),
        multiply(_mm_sub_ps(x.p0, x.p2), k.k2r, k.k2i), multiply(minusITimes(x.p1, x.p3), k.k3r, k.k3i)};
}

// Two butterflies side by side: the points at j, j + 2, j + 4, j + 6 of the
// spacing below in one register each.
template <typename Form>
inline void butterflyPair(float* at, int spacing, Form form)
{
    const Quad y = form(Quad{_mm_loadu_ps(at), _mm_loadu_ps(at + spacing), _mm_loadu_ps(at + 2 * spacing),
        _mm_loadu_ps(at + 3 * spacing)});
    _mm_storeu_ps(at, y.p0);
    _mm_storeu_ps(at + spacing, y.p1);
    _mm_storeu_ps(at + 2 * spacing, y.p2);
    _mm_storeu_ps(at + 3 * spacing, y.p3);
}

// Two blocks of four neighbouring points (spacing 2) side by side, one block
// per half register. Both may be the same block.
template <typename Form>
inline void blockPair(float* first, float* second, Form form)
{
    const __m128 a = _mm_loadu_ps(first), b = _mm_loadu_ps(first + 4);
    const __m128 c = _mm_loadu_ps(second), d = _mm_loadu_ps(second + 4);
    const Quad y = form(Quad{_mm_movelh_ps(a, c), _mm_movehl_ps(c, a), _mm_movelh_ps(b, d), _mm_movehl_ps(d, b)});
    _mm_storeu_ps(first, _mm_movelh_ps(y.p0, y.p1));
    _mm_storeu_ps(first + 4, _mm_movelh_ps(y.p2, y.p3));
    _mm_storeu_ps(second, _mm_movehl_ps(y.p1, y.p0));
    _mm_storeu_ps(second + 4, _mm_movehl_ps(y.p3, y.p2));
}

inline __m128 lowFromHighFrom(__m128 low, __m128 high)
{
    return _mm_shuffle_ps(low, high, _MM_SHUFFLE(3, 2, 1, 0));
}

inline Twiddles load(const float* k)
{
    return {_mm_loadu_ps(k), _mm_loadu_ps(k + 4), _mm_loadu_ps(k + 8), _mm_loadu_ps(k + 12), _mm_loadu_ps(k + 16),
        _mm_loadu_ps(k + 20)};
}

inline void swapPoint(float* data, int i, int j)
{
    const __m128d a = _mm_load_sd(reinterpret_cast<const double*>(data + 2 * i));
    const __m128d b = _mm_load_sd(reinterpret_cast<const double*>(data + 2 * j));
    _mm_store_sd(reinterpret_cast<double*>(data + 2 * i), b);
    _mm_store_sd(reinterpret_cast<double*>(data + 2 * j), a);
}

// The entry points, each on the data in place.

// The butterflies at start, start + 2, ... start + spacing - 2 (a group's
// run), two per step; spacing is a multiple of 4.
inline void plainRun(float* start, int spacing)
{
    for (int j = 0; j < spacing; j += 4)
        butterflyPair(start + j, spacing, [](const Quad& p) { return plainForm(p); });
}

inline void eighthTurnRun(float* start, int spacing, float s)
{
    const __m128 s4 = _mm_set1_ps(s);
    for (int j = 0; j < spacing; j += 4)
        butterflyPair(start + j, spacing, [s4](const Quad& p) { return eighthTurnForm(p, s4); });
}

// k: six registers as the group's twiddles table holds them.
inline void twiddledRun(float* start, int spacing, const float* k)
{
    const Twiddles twiddles = load(k);
    for (int j = 0; j < spacing; j += 4)
        butterflyPair(start + j, spacing, [&twiddles](const Quad& p) { return twiddledForm(p, twiddles); });
}

// The first two blocks of four neighbouring points: plain, eighth turn.
inline void firstBlocks(float* data, float s)
{
    const __m128 s4 = _mm_set1_ps(s);
    blockPair(data, data + 8, [s4](const Quad& p) {
        const Quad plain = plainForm(p), turned = eighthTurnForm(p, s4);
        return Quad{lowFromHighFrom(plain.p0, turned.p0), lowFromHighFrom(plain.p1, turned.p1),
            lowFromHighFrom(plain.p2, turned.p2), lowFromHighFrom(plain.p3, turned.p3)};
    });
}

// A later pair of blocks, the second eight floats after the first, with
// their twiddles side by side.
inline void twiddledBlocks(float* first, const float* k)
{
    const Twiddles twiddles = load(k);
    blockPair(first, first + 8, [&twiddles](const Quad& p) { return twiddledForm(p, twiddles); });
}

// One block of four neighbouring points, plain.
inline void plainBlock(float* data)
{
    blockPair(data, data, [](const Quad& p) { return plainForm(p); });
}

// (x0 + x1, x0 - x1) for two neighbouring pairs of points `spacing` apart.
inline void sumAndDifferencePair(float* at, int spacing)
{
    const __m128 x0 = _mm_loadu_ps(at);
    const __m128 x1 = _mm_loadu_ps(at + spacing);
    _mm_storeu_ps(at, _mm_add_ps(x0, x1));
    _mm_storeu_ps(at + spacing, _mm_sub_ps(x0, x1));
}

// (p0 + p1, p0 - p1) for the two points of a four-float transform.
inline void sumAndDifferencePoints(float* data)
{
    const __m128 x = _mm_loadu_ps(data);
    _mm_storeu_ps(data, _mm_add_ps(_mm_movelh_ps(x, x), _mm_xor_ps(_mm_movehl_ps(x, x), negateHigh)));
}

// The real split step for points k, k+1 (at low) and their partners
// N-k, N-k-1 (high points at N-k-1, N-k), with y as (wkr, wkr, wkr', wkr')
// and (wki, wki, wki', wki'): D = (Zk.r - Zj.r, Zk.i + Zj.i), Zk -= y*D,
// Zj += conj(y*D).
inline void splitPair(float* low, float* high, const float* y)
{
    const __m128 zk = _mm_loadu_ps(low);
    const __m128 zj = swapPoints(_mm_loadu_ps(high));
    const __m128 d = _mm_add_ps(zk, _mm_xor_ps(zj, negateEven));
    const __m128 yd = multiply(d, _mm_loadu_ps(y), _mm_loadu_ps(y + 4));
    _mm_storeu_ps(low, _mm_sub_ps(zk, yd));
    _mm_storeu_ps(high, swapPoints(_mm_add_ps(zj, _mm_xor_ps(yd, negateOdd))));
}

// Negates the odd entries of data[from, to), both multiples of 4.
inline void negateOddEntries(float* data, int from, int to)
{
    for (int i = from; i < to; i += 4)
        _mm_storeu_ps(data + i, _mm_xor_ps(_mm_loadu_ps(data + i), negateOdd));
}
}
