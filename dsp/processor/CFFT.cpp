#include "processor/CFFT.h"

#include <emmintrin.h>

#include <algorithm>
#include <cmath>

namespace
{
// e^(2*pi*i*m/N) for any 0 <= m < N from the first-quadrant table of N/4
// (cos, sin) pairs: the other three quadrants by rotating through multiples
// of i, so only the first quadrant needs exact values.
void rotate(const float* twiddle, int quarter, int m, float& c, float& s)
{
    const int q = quarter > 0 ? m / quarter : 0;
    const int r = quarter > 0 ? m - q * quarter : 0;
    const float tc = quarter > 0 ? twiddle[2 * r] : 1.0f;
    const float ts = quarter > 0 ? twiddle[2 * r + 1] : 0.0f;
    switch (q & 3)
    {
    case 0: c = tc; s = ts; break;
    case 1: c = -ts; s = tc; break;
    case 2: c = -tc; s = -ts; break;
    default: c = ts; s = -tc; break;
    }
}

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

// p*w for both points, with w as (c, c, c', c') and (-s, s, -s', s'):
// (pr*c - pi*s, pi*c + pr*s), the scalar pr*c - pi*s and pr*s + pi*c with
// the operands of each product and of the final sum in swapped order.
inline __m128 multiply(__m128 p, __m128 wReal, __m128 wImag)
{
    return _mm_add_ps(_mm_mul_ps(p, wReal), _mm_mul_ps(swapParts(p), wImag));
}

// Lays out the twiddles of two neighbouring butterflies as multiply() wants them.
void appendPair(std::vector<float>& out, float c0, float s0, float c1, float s1)
{
    out.insert(out.end(), {c0, c0, c1, c1, -s0, s0, -s1, s1});
}

inline void swapPoint(float* data, int i, int j)
{
    const __m128d a = _mm_load_sd(reinterpret_cast<const double*>(data + 2 * i));
    const __m128d b = _mm_load_sd(reinterpret_cast<const double*>(data + 2 * j));
    _mm_store_sd(reinterpret_cast<double*>(data + 2 * i), b);
    _mm_store_sd(reinterpret_cast<double*>(data + 2 * j), a);
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
    const int points = n / 2;     // complex points of the inner FFT
    const int quarter = points / 4;
    const int splitCount = n / 4;
    workArea[0] = n / 4;
    workArea[1] = splitCount;

    float* twiddle = table.data();
    for (int m = 0; m < quarter; ++m)
    {
        const double angle = 2.0 * M_PI * m / points;
        twiddle[2 * m] = float(std::cos(angle));
        twiddle[2 * m + 1] = float(std::sin(angle));
    }

    float* splitCos = table.data() + n / 4;
    for (int k = 0; k < splitCount; ++k)
        splitCos[k] = float(0.5 * std::cos(2.0 * M_PI * k / n));

    // Bit reversals of every seedBits-wide value: reversals of longer
    // indices are composed from them chunk by chunk.
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

    int indexBits = 0;
    while ((1 << indexBits) < points)
        ++indexBits;
    reversalSwaps.clear();
    for (int i = 0; i < points; ++i)
    {
        int rest = i;
        int reversed = 0;
        int left = indexBits;
        while (left > 0)
        {
            const int take = left < seedBits ? left : seedBits;
            const int chunk = rest & ((1 << take) - 1);
            reversed = (reversed << take) | (seed[chunk] >> (seedBits - take));
            rest >>= take;
            left -= take;
        }
        if (i < reversed)
            reversalSwaps.insert(reversalSwaps.end(), {i, reversed});
    }

    // Radix-4 stages in the order complexPass runs them; a stage of span 1
    // has the single butterfly k = 0, whose three twiddles are all w^0.
    stageTwiddles.clear();
    for (int span = (indexBits & 1) ? 2 : 1; span < points; span *= 4)
    {
        const int step = points / (4 * span);
        for (int k = 0; k < span; k += 2)
        {
            const int next = span == 1 ? k : k + 1;
            for (int multiple = 1; multiple <= 3; ++multiple)
            {
                float c0, s0, c1, s1;
                rotate(twiddle, quarter, multiple * k * step, c0, s0);
                rotate(twiddle, quarter, multiple * next * step, c1, s1);
                appendPair(stageTwiddles, c0, s0, c1, s1);
            }
        }
    }

    // y = (1 + i*e^(2*pi*i*k/n))/2 of the real split step, as the scalar
    // form computes it, for the pairs k = 2, 3 up to points/2 - 1.
    splitTwiddles.clear();
    for (int k = 2; k + 1 < points / 2; k += 2)
        appendPair(splitTwiddles, 0.5f - splitCos[splitCount - k], splitCos[k], 0.5f - splitCos[splitCount - k - 1],
            splitCos[k + 1]);
}

void CFFT::bitReverse(float* data) const
{
    const int* swap = reversalSwaps.data();
    const int* end = swap + reversalSwaps.size();
    for (; swap != end; swap += 2)
        swapPoint(data, swap[0], swap[1]);
}

// Decimation in time over bit-reversed complex points with the kernel
// e^(+2*pi*i*j*k/N): one radix-2 stage when log2(N) is odd, radix-4 after.
void CFFT::complexPass(float* data) const
{
    const int points = n / 2;
    int stages = 0;
    while ((1 << stages) < points)
        ++stages;

    int span = 1;
    if (stages & 1)
    {
        // (x0, x1) -> (x0 + x1, x0 - x1), one butterfly per register.
        for (int p = 0; p < points; p += 2)
        {
            const __m128 x = _mm_loadu_ps(data + 2 * p);
            const __m128 first = _mm_movelh_ps(x, x);
            const __m128 second = _mm_movehl_ps(x, x);
            _mm_storeu_ps(data + 2 * p, _mm_add_ps(first, _mm_xor_ps(second, negateHigh)));
        }
        span = 2;
    }

    // In bit-reversed order the four sub-blocks of a radix-4 block hold the
    // sub-transforms of residues 0, 2, 1 and 3.
    const float* twiddles = stageTwiddles.data();
    for (; span < points; span *= 4)
    {
        const int block = 4 * span;
        if (span == 1)
        {
            // One butterfly per block of four neighbouring points.
            const __m128 wReal = _mm_loadu_ps(twiddles);
            const __m128 wImag = _mm_loadu_ps(twiddles + 4);
            for (int start = 0; start < points; start += block)
            {
                float* p = data + 2 * start;
                const __m128 x01 = _mm_loadu_ps(p);
                const __m128 x23 = _mm_loadu_ps(p + 4);
                // (t0, t2): the first point stays unmultiplied.
                const __m128 t02 = _mm_shuffle_ps(x01, multiply(x01, wReal, wImag), _MM_SHUFFLE(3, 2, 1, 0));
                const __m128 t13 = multiply(x23, wReal, wImag);
                // (t0 + t2, t0 - t2) and (t1 + t3, t1 - t3)
                const __m128 s02 = _mm_add_ps(_mm_movelh_ps(t02, t02), _mm_xor_ps(_mm_movehl_ps(t02, t02), negateHigh));
                const __m128 s13 = _mm_add_ps(_mm_movelh_ps(t13, t13), _mm_xor_ps(_mm_movehl_ps(t13, t13), negateHigh));
                // (t1 + t3, i*(t1 - t3))
                const __m128 r13 = _mm_xor_ps(_mm_shuffle_ps(s13, s13, _MM_SHUFFLE(2, 3, 1, 0)),
                    _mm_castsi128_ps(_mm_set_epi32(0, int(0x80000000u), 0, 0)));
                _mm_storeu_ps(p, _mm_add_ps(s02, r13));
                _mm_storeu_ps(p + 4, _mm_sub_ps(s02, r13));
            }
            twiddles += 24;
            continue;
        }

        // Two neighbouring butterflies k, k+1 per register.
        for (int start = 0; start < points; start += block)
        {
            const float* w = twiddles;
            for (int k = 0; k < span; k += 2, w += 24)
            {
                float* p0 = data + 2 * (start + k);
                float* p1 = p0 + 2 * span;
                float* p2 = p1 + 2 * span;
                float* p3 = p2 + 2 * span;
                const __m128 t0 = _mm_loadu_ps(p0);
                const __m128 t2 = multiply(_mm_loadu_ps(p1), _mm_loadu_ps(w + 8), _mm_loadu_ps(w + 12));
                const __m128 t1 = multiply(_mm_loadu_ps(p2), _mm_loadu_ps(w), _mm_loadu_ps(w + 4));
                const __m128 t3 = multiply(_mm_loadu_ps(p3), _mm_loadu_ps(w + 16), _mm_loadu_ps(w + 20));

                const __m128 sum02 = _mm_add_ps(t0, t2);
                const __m128 dif02 = _mm_sub_ps(t0, t2);
                const __m128 sum13 = _mm_add_ps(t1, t3);
                const __m128 dif13 = _mm_sub_ps(t1, t3);
                // i*(t1 - t3) = (-dif13i, dif13r)
                const __m128 rotated = _mm_xor_ps(swapParts(dif13), negateEven);

                _mm_storeu_ps(p0, _mm_add_ps(sum02, sum13));
                _mm_storeu_ps(p1, _mm_add_ps(dif02, rotated));
                _mm_storeu_ps(p2, _mm_sub_ps(sum02, sum13));
                _mm_storeu_ps(p3, _mm_sub_ps(dif02, rotated));
            }
        }
        twiddles += 24 * (span / 2);
    }
}

// Turns the transform of the packed pairs (x[2m], x[2m+1]) into the first
// half of the real transform: X[k] = Z[k] - y*D and
// Z[N-k] += conj(y*D), with D = Z[k] - conj(Z[N-k]) and
// y = (1 + i*e^(2*pi*i*k/n))/2. The inverse path uses the same step on the
// conjugated spectrum.
void CFFT::realSplit(float* data) const
{
    const int points = n / 2;
    const float* splitCos = table.data() + n / 4;
    const int splitCount = n / 4;

    // k = 1 on its own, so that the rest pairs up.
    if (1 < points / 2)
    {
        const int k = 1;
        const int j = points - k;
        const float yr = 0.5f - splitCos[splitCount - k];
        const float yi = splitCos[k];
        const float dr = data[2 * k] - data[2 * j];
        const float di = data[2 * k + 1] + data[2 * j + 1];
        const float pr = yr * dr - yi * di;
        const float pi = yr * di + yi * dr;
        data[2 * k] -= pr;
        data[2 * k + 1] -= pi;
        data[2 * j] += pr;
        data[2 * j + 1] -= pi;
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
        // y*D = (yr*dr - yi*di, yr*di + yi*dr)
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
