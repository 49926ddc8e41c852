#include "processor/CFFT.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace
{
std::vector<float> noise(int n, uint32_t seed)
{
    std::vector<float> x(static_cast<size_t>(n));
    for (auto& v : x)
    {
        seed = seed * 1664525u + 1013904223u;
        v = float(int32_t(seed) / 2147483648.0);
    }
    return x;
}

// Reference real DFT in double, in the transform's own layout.
std::vector<double> referenceDft(const std::vector<float>& x)
{
    const int n = int(x.size());
    std::vector<double> out(static_cast<size_t>(n), 0.0);
    for (int k = 0; k <= n / 2; ++k)
    {
        double re = 0.0, im = 0.0;
        for (int j = 0; j < n; ++j)
        {
            const double angle = 2.0 * M_PI * double(j) * double(k) / double(n);
            re += x[size_t(j)] * std::cos(angle);
            im += x[size_t(j)] * std::sin(angle);
        }
        if (k == 0)
            out[0] = re;
        else if (k == n / 2)
            out[1] = re;
        else
        {
            out[size_t(2 * k)] = re;
            out[size_t(2 * k + 1)] = im;
        }
    }
    return out;
}

double rms(const std::vector<float>& x)
{
    double sum = 0.0;
    for (float v : x)
        sum += double(v) * v;
    return std::sqrt(sum / double(x.size()));
}

// The transform one complex point at a time, straight from its definition:
// bit reversal recomputed per index, twiddles rotated out of the
// first-quadrant table per butterfly, the split step pair by pair. The
// transform under test must give exactly these bits.
class OnePointAtATimeFft
{
public:
    explicit OnePointAtATimeFft(int n) : n(n), quadrant(size_t(n / 4)), splitCos(size_t(n / 4))
    {
        const int points = n / 2;
        for (int m = 0; m < points / 4; ++m)
        {
            quadrant[size_t(2 * m)] = float(std::cos(2.0 * M_PI * m / points));
            quadrant[size_t(2 * m + 1)] = float(std::sin(2.0 * M_PI * m / points));
        }
        for (int k = 0; k < n / 4; ++k)
            splitCos[size_t(k)] = float(0.5 * std::cos(2.0 * M_PI * k / n));
    }

    void transform(float* data, bool inverse) const
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
                complexPass(data);
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

private:
    void bitReverse(float* data) const
    {
        const int points = n / 2;
        for (int i = 0; i < points; ++i)
        {
            int reversed = 0;
            for (int bit = 1, mirror = points / 2; bit < points; bit <<= 1, mirror >>= 1)
                if (i & bit)
                    reversed |= mirror;
            if (i < reversed)
            {
                std::swap(data[2 * i], data[2 * reversed]);
                std::swap(data[2 * i + 1], data[2 * reversed + 1]);
            }
        }
    }

    void rotate(int m, float& c, float& s) const
    {
        const int quarter = n / 8;
        const int q = quarter > 0 ? m / quarter : 0;
        const float tc = quarter > 0 ? quadrant[size_t(2 * (m - q * quarter))] : 1.0f;
        const float ts = quarter > 0 ? quadrant[size_t(2 * (m - q * quarter) + 1)] : 0.0f;
        const float cs[4][2] = {{tc, ts}, {-ts, tc}, {-tc, -ts}, {ts, -tc}};
        c = cs[q & 3][0];
        s = cs[q & 3][1];
    }

    void complexPass(float* data) const
    {
        const int points = n / 2;
        int stages = 0;
        while ((1 << stages) < points)
            ++stages;
        int span = 1;
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
            const int step = points / (4 * span);
            for (int k = 0; k < span; ++k)
            {
                float w1r, w1i, w2r, w2i, w3r, w3i;
                rotate(k * step, w1r, w1i);
                rotate(2 * k * step, w2r, w2i);
                rotate(3 * k * step, w3r, w3i);
                for (int start = 0; start < points; start += 4 * span)
                {
                    float* p0 = data + 2 * (start + k);
                    float* p1 = p0 + 2 * span;
                    float* p2 = p1 + 2 * span;
                    float* p3 = p2 + 2 * span;
                    const float t0r = p0[0], t0i = p0[1];
                    const float t2r = p1[0] * w2r - p1[1] * w2i, t2i = p1[0] * w2i + p1[1] * w2r;
                    const float t1r = p2[0] * w1r - p2[1] * w1i, t1i = p2[0] * w1i + p2[1] * w1r;
                    const float t3r = p3[0] * w3r - p3[1] * w3i, t3i = p3[0] * w3i + p3[1] * w3r;
                    const float sum02r = t0r + t2r, sum02i = t0i + t2i, dif02r = t0r - t2r, dif02i = t0i - t2i;
                    const float sum13r = t1r + t3r, sum13i = t1i + t3i, dif13r = t1r - t3r, dif13i = t1i - t3i;
                    p0[0] = sum02r + sum13r;
                    p0[1] = sum02i + sum13i;
                    p1[0] = dif02r - dif13i;
                    p1[1] = dif02i + dif13r;
                    p2[0] = sum02r - sum13r;
                    p2[1] = sum02i - sum13i;
                    p3[0] = dif02r + dif13i;
                    p3[1] = dif02i - dif13r;
                }
            }
        }
    }

    void realSplit(float* data) const
    {
        const int points = n / 2;
        const int splitCount = n / 4;
        for (int k = 1; k < points / 2; ++k)
        {
            const int j = points - k;
            const float yr = 0.5f - splitCos[size_t(splitCount - k)];
            const float yi = splitCos[size_t(k)];
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

    int n;
    std::vector<float> quadrant;
    std::vector<float> splitCos;
};

bool sameBits(float a, float b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}
}

TEST(CFFT, ConstantGoesEntirelyToDc)
{
    // A constant keeps every intermediate value an integer and every twiddle
    // it meets is exactly 1, so the result is exact.
    for (int n : {4, 8, 16, 64, 1024})
    {
        CFFT fft(n);
        std::vector<float> data(size_t(n), 1.0f);
        fft.transform(data.data(), false);
        EXPECT_EQ(data[0], float(n)) << "n=" << n;
        for (int i = 1; i < n; ++i)
            EXPECT_EQ(data[size_t(i)], 0.0f) << "n=" << n << " i=" << i;
    }
}

TEST(CFFT, MatchesReferenceLayoutAndSign)
{
    for (int n : {4, 8, 32, 128, 512, 1024})
    {
        const auto x = noise(n, uint32_t(n));
        const auto expected = referenceDft(x);
        std::vector<float> data = x;
        CFFT fft(n);
        fft.transform(data.data(), false);
        // Float rounding grows like eps * log2(n) * sqrt(n) * rms(x); 1e-5 * n
        // * rms leaves a wide margin yet fails on any misplaced bin or sign
        // (a sine at bin k gives +n/2 in entry 2k+1, Nyquist goes to entry 1).
        const double tolerance = 1e-5 * n * rms(x) + 1e-6;
        for (int i = 0; i < n; ++i)
            ASSERT_NEAR(data[size_t(i)], expected[size_t(i)], tolerance) << "n=" << n << " i=" << i;
    }
}

TEST(CFFT, ForwardThenInverseThenScaleHalvesTheInput)
{
    // The round trip scales by n/2 and scale() by 1/n.
    for (int n : {4, 8, 64, 1024, 4096})
    {
        const auto x = noise(n, 77u + uint32_t(n));
        std::vector<float> data = x;
        CFFT fft(n);
        fft.transform(data.data(), false);
        fft.transform(data.data(), true);
        fft.scale(data.data());
        const double tolerance = 1e-5 * rms(x);
        for (int i = 0; i < n; ++i)
            ASSERT_NEAR(data[size_t(i)], x[size_t(i)] * 0.5, tolerance) << "n=" << n << " i=" << i;
    }
}

TEST(CFFT, GivesTheBitsOfTheOnePointAtATimeForm)
{
    // Noise with exact zeros of both signs sprinkled in: products with zero
    // twiddles and sums of opposite zeros are where a reordered operation
    // would first change a sign bit.
    for (int n : {4, 8, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096})
        for (bool inverse : {false, true})
        {
            std::vector<float> x = noise(n, 1234u + uint32_t(n) + (inverse ? 1u : 0u));
            for (int i = 0; i < n; i += 7)
                x[size_t(i)] = (i % 3 == 0) ? -0.0f : 0.0f;
            std::vector<float> expected = x;
            OnePointAtATimeFft(n).transform(expected.data(), inverse);
            CFFT fft(n);
            fft.transform(x.data(), inverse);
            for (int i = 0; i < n; ++i)
                ASSERT_TRUE(sameBits(x[size_t(i)], expected[size_t(i)]))
                    << "n=" << n << (inverse ? " inverse" : " forward") << " i=" << i << ": " << x[size_t(i)] << " vs "
                    << expected[size_t(i)];
        }
}
