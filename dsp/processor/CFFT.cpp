#include "processor/CFFT.h"

#include <cmath>

namespace
{
constexpr float twoPi = 6.2831855f;
}

CFFT::CFFT(int length)
    : n(length < 4 ? 4 : length), invN(1.0f / float(n))
{
    workArea.assign(2 + int(std::sqrt(double(n / 2))), 0);
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

    // Twiddles of the first quadrant; the other three follow by rotating
    // through multiples of i, so only these need exact values.
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
}

void CFFT::bitReverse(float* data) const
{
    const int points = n / 2;
    int indexBits = 0;
    while ((1 << indexBits) < points)
        ++indexBits;
    const int* seed = workArea.data() + 2;

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
        {
            float re = data[2 * i];
            float im = data[2 * i + 1];
            data[2 * i] = data[2 * reversed];
            data[2 * i + 1] = data[2 * reversed + 1];
            data[2 * reversed] = re;
            data[2 * reversed + 1] = im;
        }
    }
}

// Decimation in time over bit-reversed complex points with the kernel
// e^(+2*pi*i*j*k/N): one radix-2 stage when log2(N) is odd, radix-4 after.
void CFFT::complexPass(float* data) const
{
    const int points = n / 2;
    const int quarter = points / 4;
    const float* twiddle = table.data();

    // e^(2*pi*i*m/N) for any 0 <= m < N from the first-quadrant table.
    auto rotate = [&](int m, float& c, float& s) {
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
    };

    int span = 1;
    int stages = 0;
    while ((1 << stages) < points)
        ++stages;
    if (stages & 1)
    {
        for (int p = 0; p < points; p += 2)
        {
            float* a = data + 2 * p;
            const float xr = a[2], xi = a[3];
            a[2] = a[0] - xr;
            a[3] = a[1] - xi;
            a[0] = a[0] + xr;
            a[1] = a[1] + xi;
        }
        span = 2;
    }

    for (; span < points; span *= 4)
    {
        const int block = 4 * span;
        const int step = points / block; // twiddle index per k
        for (int k = 0; k < span; ++k)
        {
            float w1r, w1i, w2r, w2i, w3r, w3i;
            rotate(k * step, w1r, w1i);
            rotate(2 * k * step, w2r, w2i);
            rotate(3 * k * step, w3r, w3i);
            for (int start = 0; start < points; start += block)
            {
                // In bit-reversed order the four sub-blocks hold the
                // sub-transforms of residues 0, 2, 1 and 3.
                float* p0 = data + 2 * (start + k);
                float* p1 = p0 + 2 * span;
                float* p2 = p1 + 2 * span;
                float* p3 = p2 + 2 * span;
                const float t0r = p0[0], t0i = p0[1];
                const float t2r = p1[0] * w2r - p1[1] * w2i;
                const float t2i = p1[0] * w2i + p1[1] * w2r;
                const float t1r = p2[0] * w1r - p2[1] * w1i;
                const float t1i = p2[0] * w1i + p2[1] * w1r;
                const float t3r = p3[0] * w3r - p3[1] * w3i;
                const float t3i = p3[0] * w3i + p3[1] * w3r;

                const float sum02r = t0r + t2r, sum02i = t0i + t2i;
                const float dif02r = t0r - t2r, dif02i = t0i - t2i;
                const float sum13r = t1r + t3r, sum13i = t1i + t3i;
                const float dif13r = t1r - t3r, dif13i = t1i - t3i;

                p0[0] = sum02r + sum13r;
                p0[1] = sum02i + sum13i;
                // + i*(t1 - t3)
                p1[0] = dif02r - dif13i;
                p1[1] = dif02i + dif13r;
                p2[0] = sum02r - sum13r;
                p2[1] = sum02i - sum13i;
                // - i*(t1 - t3)
                p3[0] = dif02r + dif13i;
                p3[1] = dif02i - dif13r;
            }
        }
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
    for (int k = 1; k < points / 2; ++k)
    {
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
    for (int i = 3; i < n; i += 2)
        data[i] = -data[i];
    if (n > 4)
    {
        realSplit(data);
        bitReverse(data);
    }
    complexPass(data);
    for (int i = 1; i < n; i += 2)
        data[i] = -data[i];
}

void CFFT::scale(float* data)
{
    for (int i = 0; i < n; ++i)
        data[i] *= invN;
}
