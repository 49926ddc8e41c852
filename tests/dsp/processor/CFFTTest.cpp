#include "processor/CFFT.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
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
        // * rms leaves a wide margin yet fails on any misplaced bin or sign.
        const double tolerance = 1e-5 * n * rms(x) + 1e-6;
        for (int i = 0; i < n; ++i)
            ASSERT_NEAR(data[size_t(i)], expected[size_t(i)], tolerance) << "n=" << n << " i=" << i;
    }
}

TEST(CFFT, SineAppearsAsPositiveOddEntry)
{
    // Odd entries are sums of x*sin: a sine at bin k gives +n/2 there.
    const int n = 1024;
    const int k = 37;
    std::vector<float> data(static_cast<size_t>(n));
    for (int j = 0; j < n; ++j)
        data[size_t(j)] = float(std::sin(2.0 * M_PI * k * j / n));
    CFFT fft(n);
    fft.transform(data.data(), false);
    EXPECT_NEAR(data[2 * k + 1], n / 2.0, 1e-3);
    EXPECT_NEAR(data[2 * k], 0.0, 1e-3);
}

TEST(CFFT, NyquistGoesToSecondEntry)
{
    const int n = 64;
    std::vector<float> data(static_cast<size_t>(n));
    for (int j = 0; j < n; ++j)
        data[size_t(j)] = (j & 1) ? -0.5f : 0.5f;
    CFFT fft(n);
    fft.transform(data.data(), false);
    EXPECT_FLOAT_EQ(data[1], n * 0.5f);
    EXPECT_FLOAT_EQ(data[0], 0.0f);
}

TEST(CFFT, ForwardThenInverseScalesByHalfLength)
{
    for (int n : {4, 8, 64, 1024, 4096})
    {
        const auto x = noise(n, 77u + uint32_t(n));
        std::vector<float> data = x;
        CFFT fft(n);
        fft.transform(data.data(), false);
        fft.transform(data.data(), true);
        const double tolerance = 1e-5 * n * rms(x);
        for (int i = 0; i < n; ++i)
            ASSERT_NEAR(data[size_t(i)], x[size_t(i)] * n * 0.5, tolerance) << "n=" << n << " i=" << i;
    }
}

TEST(CFFT, ScaleMultipliesByReciprocalLength)
{
    const int n = 16;
    CFFT fft(n);
    std::vector<float> data(size_t(n), 8.0f);
    fft.scale(data.data());
    for (float v : data)
        EXPECT_EQ(v, 0.5f);
}
