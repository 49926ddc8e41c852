#include "processor/CFFT.h"

#include <emmintrin.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace
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

// The bit reversal of `points` complex point indices as swaps (i, j), i < j,
// composed seedBits at a time from the seed reversals.
std::vector<int> reversalPairs(int points, const int* seed, int seedBits)
{
    int indexBits = 0;
    while ((1 << indexBits) < points)
        ++indexBits;
    std::vector<int> pairs;
    for (int i = 0; i < points; ++i)
    {
        int rest = i;
        int reversed = 0;
        for (int left = indexBits; left > 0;)
        {
            const int take = std::min(left, seedBits);
            reversed = (reversed << take) | (seed[rest & ((1 << take) - 1)] >> (seedBits - take));
            rest >>= take;
            left -= take;
        }
        if (i < reversed)
            pairs.insert(pairs.end(), {i, reversed});
    }
    return pairs;
}
}

CFFT::CFFT(int length)
    : n(length < 4 ? 4 : length), invN(1.0f / float(n))
{
    // Two sizes, then the bit-reversal seeds: at least the two one-bit ones.
    workArea.assign(2 + std::max(2, int(std::sqrt(double(n / 2)))), 0);
    table.assign(n / 2, 0.0f);
    makeTables();
}

void CFFT::makeTables()
{
    const int twiddleCount = n / 4;
    const int splitCount = n / 4;
    workArea[0] = twiddleCount;
    workArea[1] = splitCount;

    seedBits = 1;
    while ((1 << (seedBits + 1)) <= int(workArea.size()) - 2)
        ++seedBits;
    int* seed = workArea.data() + 2;
    for (int i = 0; i < (1 << seedBits) && i < int(workArea.size()) - 2; ++i)
    {
        int reversed = 0;
        for (int b = 0; b < seedBits; ++b)
            reversed |= ((i >> b) & 1) << (seedBits - 1 - b);
        seed[i] = reversed;
    }
    reversalSwaps = reversalPairs(n / 2, seed, seedBits);

    // Twiddles: one octant by cosf/sinf at multiples of a float step, the
    // other by symmetry, the middle point shared; then bit-reversed.
    float* w = table.data();
    if (twiddleCount > 2)
    {
        const int half = twiddleCount / 2;
        const float delta = std::atan(1.0f) / float(half);
        w[0] = 1.0f;
        w[1] = 0.0f;
        w[half] = std::cos(delta * float(half));
        w[half + 1] = w[half];
        for (int j = 2; j < half; j += 2)
        {
            const float x = std::cos(delta * float(j));
            const float y = std::sin(delta * float(j));
            w[j] = x;
            w[j + 1] = y;
            w[twiddleCount - j] = y;
            w[twiddleCount - j + 1] = x;
        }
        const std::vector<int> pairs = reversalPairs(twiddleCount / 2, seed, seedBits);
        for (size_t p = 0; p < pairs.size(); p += 2)
            swapPoint(w, pairs[p], pairs[p + 1]);
    }

    float* c = table.data() + twiddleCount;
    if (splitCount > 1)
    {
        const int half = splitCount / 2;
        const float delta = std::atan(1.0f) / float(half);
        c[0] = std::cos(delta * float(half));
        c[half] = 0.5f * c[0];
        for (int j = 1; j < half; ++j)
        {
            c[j] = 0.5f * std::cos(delta * float(j));
            c[splitCount - j] = 0.5f * std::sin(delta * float(j));
        }
    }

    // Group q's twiddles: k2 from entry 2q, k1 from entries 4q and 4q + 2,
    // k3 from the recurrence on k1 and k2.
    groupTwiddles.clear();
    firstStageTwiddles.clear();
    for (int q = 1; 16 * q < n; ++q)
    {
        const float wr2 = w[2 * q], wi2 = w[2 * q + 1];
        const float k1r = w[4 * q], k1i = w[4 * q + 1];
        const float k1rSecond = w[4 * q + 2], k1iSecond = w[4 * q + 3];
        const float first[6] = {k1r, k1i, wr2, wi2, k1r - 2.0f * wi2 * k1i, 2.0f * wi2 * k1r - k1i};
        const float second[6] = {k1rSecond, k1iSecond, -wi2, wr2, k1rSecond - 2.0f * wr2 * k1iSecond,
            2.0f * wr2 * k1rSecond - k1iSecond};
        // The middle stages' groups are at least 64 floats apart.
        if (64 * q < n)
            for (const float* half : {first, second})
                for (int i = 0; i < 6; ++i)
                    groupTwiddles.insert(groupTwiddles.end(), {half[i], half[i], half[i], half[i]});
        for (int i = 0; i < 6; ++i)
            firstStageTwiddles.insert(firstStageTwiddles.end(), {first[i], first[i], second[i], second[i]});
    }

    splitTwiddles.clear();
    for (int k = 2; k + 1 < n / 4; k += 2)
    {
        const float wkr = 0.5f - c[splitCount - k], wki = c[k];
        const float wkrNext = 0.5f - c[splitCount - k - 1], wkiNext = c[k + 1];
        splitTwiddles.insert(splitTwiddles.end(), {wkr, wkr, wkrNext, wkrNext, wki, wki, wkiNext, wkiNext});
    }
}

void CFFT::bitReverse(float* data) const
{
    const int* swap = reversalSwaps.data();
    const int* end = swap + reversalSwaps.size();
    for (; swap != end; swap += 2)
        swapPoint(data, swap[0], swap[1]);
}

// Radix-4 stages of growing spacing, a last radix-4 or radix-2 stage, each
// group of butterflies in it with its own twiddles.
void CFFT::complexPass(float* data) const
{
    int spacing = 2;
    if (n > 8)
    {
        firstStage(data);
        spacing = 8;
        while (4 * spacing < n)
        {
            middleStage(data, spacing);
            spacing *= 4;
        }
    }
    lastStage(data, spacing);
}

// Blocks of four neighbouring points: block 0 plain, block 1 the eighth
// turn, then pairs of blocks with their group's twiddles.
void CFFT::firstStage(float* data) const
{
    const __m128 s = _mm_set1_ps(table[2]);
    blockPair(data, data + 8, [s](const Quad& p) {
        const Quad plain = plainForm(p), turned = eighthTurnForm(p, s);
        return Quad{lowFromHighFrom(plain.p0, turned.p0), lowFromHighFrom(plain.p1, turned.p1),
            lowFromHighFrom(plain.p2, turned.p2), lowFromHighFrom(plain.p3, turned.p3)};
    });
    const float* k = firstStageTwiddles.data();
    for (int j = 16; j < n; j += 16, k += 24)
    {
        const Twiddles pair = load(k);
        blockPair(data + j, data + j + 8, [&pair](const Quad& p) { return twiddledForm(p, pair); });
    }
}

void CFFT::middleStage(float* data, int spacing) const
{
    const int group = 4 * spacing;
    const __m128 s = _mm_set1_ps(table[2]);
    for (int j = 0; j < spacing; j += 4)
        butterflyPair(data + j, spacing, [](const Quad& p) { return plainForm(p); });
    for (int j = group; j < group + spacing; j += 4)
        butterflyPair(data + j, spacing, [s](const Quad& p) { return eighthTurnForm(p, s); });
    const float* k = groupTwiddles.data();
    for (int start = 2 * group; start < n; start += 2 * group, k += 48)
    {
        const Twiddles first = load(k), second = load(k + 24);
        for (int j = start; j < start + spacing; j += 4)
            butterflyPair(data + j, spacing, [&first](const Quad& p) { return twiddledForm(p, first); });
        for (int j = start + group; j < start + group + spacing; j += 4)
            butterflyPair(data + j, spacing, [&second](const Quad& p) { return twiddledForm(p, second); });
    }
}

void CFFT::lastStage(float* data, int spacing) const
{
    if (4 * spacing == n)
    {
        if (spacing == 2)
            blockPair(data, data, [](const Quad& p) { return plainForm(p); });
        else
            for (int j = 0; j < spacing; j += 4)
                butterflyPair(data + j, spacing, [](const Quad& p) { return plainForm(p); });
        return;
    }
    if (spacing == 2)
    {
        // Two points: (p0 + p1, p0 - p1).
        const __m128 x = _mm_loadu_ps(data);
        _mm_storeu_ps(data, _mm_add_ps(_mm_movelh_ps(x, x), _mm_xor_ps(_mm_movehl_ps(x, x), negateHigh)));
        return;
    }
    for (int j = 0; j < spacing; j += 4)
    {
        const __m128 x0 = _mm_loadu_ps(data + j);
        const __m128 x1 = _mm_loadu_ps(data + j + spacing);
        _mm_storeu_ps(data + j, _mm_add_ps(x0, x1));
        _mm_storeu_ps(data + j + spacing, _mm_sub_ps(x0, x1));
    }
}

// Turns the transform of the packed pairs (x[2m], x[2m+1]) into the first
// half of the real transform: with D = Z[k] - conj(Z[N-k]) and the factor
// y = (wkr, wki), Z[k] -= y*D and Z[N-k] += conj(y*D). The inverse path
// uses the same step on the conjugated spectrum.
void CFFT::realSplit(float* data) const
{
    const int points = n / 2;
    const float* c = table.data() + n / 4;
    const int splitCount = n / 4;

    // k = 1 on its own, so that the rest pairs up.
    if (1 < points / 2)
    {
        const int k = 1;
        const int j = points - k;
        const float wkr = 0.5f - c[splitCount - k];
        const float wki = c[k];
        const float xr = data[2 * k] - data[2 * j];
        const float xi = data[2 * k + 1] + data[2 * j + 1];
        const float yr = wkr * xr - wki * xi;
        const float yi = wkr * xi + wki * xr;
        data[2 * k] -= yr;
        data[2 * k + 1] -= yi;
        data[2 * j] += yr;
        data[2 * j + 1] -= yi;
    }

    // k, k+1 in one register and their partners N-k, N-k-1 in another.
    const float* y = splitTwiddles.data();
    for (int k = 2; k + 1 < points / 2; k += 2, y += 8)
    {
        float* low = data + 2 * k;
        float* high = data + 2 * (points - k - 1);
        const __m128 zk = _mm_loadu_ps(low);
        const __m128 zj = swapPoints(_mm_loadu_ps(high));
        // D = (Zk.r - Zj.r, Zk.i + Zj.i)
        const __m128 d = _mm_add_ps(zk, _mm_xor_ps(zj, negateEven));
        const __m128 yd = multiply(d, _mm_loadu_ps(y), _mm_loadu_ps(y + 4));
        _mm_storeu_ps(low, _mm_sub_ps(zk, yd));
        _mm_storeu_ps(high, swapPoints(_mm_add_ps(zj, _mm_xor_ps(yd, negateOdd))));
    }
}

void CFFT::transform(float* data, bool inverse)
{
    if (!inverse)
    {
        if (n > 4)
        {
            bitReverse(data);
            complexPass(data);
            realSplit(data);
        }
        else
        {
            complexPass(data);
        }
        const float difference = data[0] - data[1];
        data[0] = data[0] + data[1];
        data[1] = difference;
        return;
    }

    data[1] = 0.5f * (data[1] - data[0]);
    data[0] = data[0] + data[1];
    // Conjugate every bin but DC (n is a multiple of 4).
    data[3] = -data[3];
    for (int i = 4; i < n; i += 4)
        _mm_storeu_ps(data + i, _mm_xor_ps(_mm_loadu_ps(data + i), negateOdd));
    if (n > 4)
    {
        realSplit(data);
        bitReverse(data);
    }
    complexPass(data);
    for (int i = 0; i < n; i += 4)
        _mm_storeu_ps(data + i, _mm_xor_ps(_mm_loadu_ps(data + i), negateOdd));
}

void CFFT::scale(float* data)
{
    for (int i = 0; i < n; ++i)
        data[i] *= invN;
}
