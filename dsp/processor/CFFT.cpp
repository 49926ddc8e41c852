#include "processor/CFFT.h"

#include "blocks/CExactMath.h"
#include "processor/FFTKernels.h"

#include <algorithm>
#include <cmath>
#include <utility>

using namespace FFTKernels;

namespace
{
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
        const float delta = CExactMath::atan(1.0f) / float(half);
        w[0] = 1.0f;
        w[1] = 0.0f;
        w[half] = CExactMath::cos(delta * float(half));
        w[half + 1] = w[half];
        for (int j = 2; j < half; j += 2)
        {
            const float x = CExactMath::cos(delta * float(j));
            const float y = CExactMath::sin(delta * float(j));
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
        const float delta = CExactMath::atan(1.0f) / float(half);
        c[0] = CExactMath::cos(delta * float(half));
        c[half] = 0.5f * c[0];
        for (int j = 1; j < half; ++j)
        {
            c[j] = 0.5f * CExactMath::cos(delta * float(j));
            c[splitCount - j] = 0.5f * CExactMath::sin(delta * float(j));
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
    firstBlocks(data, table[2]);
    const float* k = firstStageTwiddles.data();
    for (int j = 16; j < n; j += 16, k += 24)
        twiddledBlocks(data + j, k);
}

void CFFT::middleStage(float* data, int spacing) const
{
    const int group = 4 * spacing;
    plainRun(data, spacing);
    eighthTurnRun(data + group, spacing, table[2]);
    const float* k = groupTwiddles.data();
    for (int start = 2 * group; start < n; start += 2 * group, k += 48)
    {
        twiddledRun(data + start, spacing, k);
        twiddledRun(data + start + group, spacing, k + 24);
    }
}

void CFFT::lastStage(float* data, int spacing) const
{
    if (4 * spacing == n)
    {
        if (spacing == 2)
            plainBlock(data);
        else
            plainRun(data, spacing);
    }
    else if (spacing == 2)
        sumAndDifferencePoints(data);
    else
        for (int j = 0; j < spacing; j += 4)
            sumAndDifferencePair(data + j, spacing);
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

    const float* y = splitTwiddles.data();
    for (int k = 2; k + 1 < points / 2; k += 2, y += 8)
        splitPair(data + 2 * k, data + 2 * (points - k - 1), y);
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
    negateOddEntries(data, 4, n);
    if (n > 4)
    {
        realSplit(data);
        bitReverse(data);
    }
    complexPass(data);
    negateOddEntries(data, 0, n);
}

void CFFT::scale(float* data)
{
    for (int i = 0; i < n; ++i)
        data[i] *= invN;
}
