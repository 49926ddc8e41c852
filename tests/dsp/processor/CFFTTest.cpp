#include "blocks/CExactMath.h"
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

// One butterfly's three twiddles (real, imaginary).
struct Twiddles
{
    float k1r = 1, k1i = 0, k2r = 1, k2i = 0, k3r = 1, k3i = 0;
};

// The transform written out plainly, one float operation per statement in
// the order the optimised one must keep: tables made in single precision,
// a radix-4 pass whose butterflies take one of three forms, the twiddle
// recurrence for the third twiddle, the real split step. The transform under
// test must give exactly these bits.
class PlainRealFft
{
public:
    explicit PlainRealFft(int n) : n(n), w(size_t(n / 4 + 2)), c(size_t(n / 4 + 1))
    {
        const int nw = n / 4;
        if (nw > 2)
        {
            const int nwh = nw / 2;
            const float delta = CExactMath::atan(1.0f) / (float)nwh;
            w[0] = 1;
            w[1] = 0;
            w[nwh] = CExactMath::cos(delta * (float)nwh);
            w[nwh + 1] = w[nwh];
            for (int j = 2; j < nwh; j += 2)
            {
                const float x = CExactMath::cos(delta * (float)j);
                const float y = CExactMath::sin(delta * (float)j);
                w[j] = x;
                w[j + 1] = y;
                w[nw - j] = y;
                w[nw - j + 1] = x;
            }
            bitReverse(w.data(), nw / 2);
        }
        nc = n / 4;
        if (nc > 1)
        {
            const int nch = nc / 2;
            const float delta = CExactMath::atan(1.0f) / (float)nch;
            c[0] = CExactMath::cos(delta * (float)nch);
            c[nch] = 0.5f * c[0];
            for (int j = 1; j < nch; ++j)
            {
                c[j] = 0.5f * CExactMath::cos(delta * (float)j);
                c[nc - j] = 0.5f * CExactMath::sin(delta * (float)j);
            }
        }
    }

    void transform(float* a, bool inverse) const
    {
        if (!inverse)
        {
            if (n > 4)
            {
                bitReverse(a, n / 2);
                complexPass(a);
                realSplit(a);
            }
            else
                complexPass(a);
            const float xi = a[0] - a[1];
            a[0] = a[0] + a[1];
            a[1] = xi;
            return;
        }
        a[1] = 0.5f * (a[1] - a[0]);
        a[0] = a[0] + a[1];
        for (int i = 3; i < n; i += 2)
            a[i] = -a[i];
        if (n > 4)
        {
            realSplit(a);
            bitReverse(a, n / 2);
        }
        complexPass(a);
        for (int i = 1; i < n; i += 2)
            a[i] = -a[i];
    }

private:
    static void bitReverse(float* a, int points)
    {
        for (int i = 0; i < points; ++i)
        {
            int reversed = 0;
            for (int bit = 1, mirror = points / 2; bit < points; bit <<= 1, mirror >>= 1)
                if (i & bit)
                    reversed |= mirror;
            if (i < reversed)
            {
                std::swap(a[2 * i], a[2 * reversed]);
                std::swap(a[2 * i + 1], a[2 * reversed + 1]);
            }
        }
    }

    enum class Form
    {
        plain,
        eighthTurn,
        twiddled,
        twiddledTurned
    };

    // Group q's twiddles, first or second half.
    Twiddles twiddles(int q, bool secondHalf) const
    {
        const int i1 = 2 * q, i2 = 2 * i1;
        const float wr2 = w[i1], wi2 = w[i1 + 1];
        Twiddles k;
        k.k2r = wr2;
        k.k2i = wi2;
        if (!secondHalf)
        {
            k.k1r = w[i2];
            k.k1i = w[i2 + 1];
            k.k3r = k.k1r - 2 * wi2 * k.k1i;
            k.k3i = 2 * wi2 * k.k1r - k.k1i;
        }
        else
        {
            k.k1r = w[i2 + 2];
            k.k1i = w[i2 + 3];
            k.k3r = k.k1r - 2 * wr2 * k.k1i;
            k.k3i = 2 * wr2 * k.k1r - k.k1i;
        }
        return k;
    }

    void butterfly(float* a, int j, int L, Form form, const Twiddles& k = Twiddles()) const
    {
        const int j1 = j + L, j2 = j1 + L, j3 = j2 + L;
        float x0r = a[j] + a[j1], x0i = a[j + 1] + a[j1 + 1];
        const float x1r = a[j] - a[j1], x1i = a[j + 1] - a[j1 + 1];
        const float x2r = a[j2] + a[j3], x2i = a[j2 + 1] + a[j3 + 1];
        const float x3r = a[j2] - a[j3], x3i = a[j2 + 1] - a[j3 + 1];
        float u, v;
        switch (form)
        {
        case Form::plain:
            a[j] = x0r + x2r;
            a[j + 1] = x0i + x2i;
            a[j2] = x0r - x2r;
            a[j2 + 1] = x0i - x2i;
            a[j1] = x1r - x3i;
            a[j1 + 1] = x1i + x3r;
            a[j3] = x1r + x3i;
            a[j3 + 1] = x1i - x3r;
            return;
        case Form::eighthTurn:
        {
            const float s = w[2];
            a[j] = x0r + x2r;
            a[j + 1] = x0i + x2i;
            a[j2] = x2i - x0i;
            a[j2 + 1] = x0r - x2r;
            u = x1r - x3i;
            v = x1i + x3r;
            a[j1] = s * (u - v);
            a[j1 + 1] = s * (u + v);
            u = x3i + x1r;
            v = x3r - x1i;
            a[j3] = s * (v - u);
            a[j3 + 1] = s * (v + u);
            return;
        }
        case Form::twiddled:
        case Form::twiddledTurned:
            a[j] = x0r + x2r;
            a[j + 1] = x0i + x2i;
            x0r = x0r - x2r;
            x0i = x0i - x2i;
            if (form == Form::twiddled)
            {
                a[j2] = k.k2r * x0r - k.k2i * x0i;
                a[j2 + 1] = k.k2r * x0i + k.k2i * x0r;
            }
            else
            {
                a[j2] = -k.k2i * x0r - k.k2r * x0i;
                a[j2 + 1] = -k.k2i * x0i + k.k2r * x0r;
            }
            u = x1r - x3i;
            v = x1i + x3r;
            a[j1] = k.k1r * u - k.k1i * v;
            a[j1 + 1] = k.k1r * v + k.k1i * u;
            u = x1r + x3i;
            v = x1i - x3r;
            a[j3] = k.k3r * u - k.k3i * v;
            a[j3 + 1] = k.k3r * v + k.k3i * u;
            return;
        }
    }

    void complexPass(float* a) const
    {
        // Radix-4 stages of growing length; the first, of length 2, runs
        // alike for every size above 8.
        int l = 2;
        while (4 * l < n)
        {
            const int m = 4 * l;
            for (int j = 0; j < l; j += 2)
                butterfly(a, j, l, Form::plain);
            for (int j = m; j < m + l; j += 2)
                butterfly(a, j, l, Form::eighthTurn);
            for (int k = 2 * m, q = 1; k < n; k += 2 * m, ++q)
            {
                for (int j = k; j < k + l; j += 2)
                    butterfly(a, j, l, Form::twiddled, twiddles(q, false));
                for (int j = k + m; j < k + m + l; j += 2)
                    butterfly(a, j, l, Form::twiddledTurned, twiddles(q, true));
            }
            l = 4 * l;
        }
        if (4 * l == n)
        {
            for (int j = 0; j < l; j += 2)
                butterfly(a, j, l, Form::plain);
            return;
        }
        for (int j = 0; j < l; j += 2)
        {
            const int j1 = j + l;
            const float x0r = a[j] - a[j1], x0i = a[j + 1] - a[j1 + 1];
            a[j] = a[j] + a[j1];
            a[j + 1] = a[j + 1] + a[j1 + 1];
            a[j1] = x0r;
            a[j1 + 1] = x0i;
        }
    }

    void realSplit(float* a) const
    {
        const int m = n / 2;
        const int ks = 2 * nc / m;
        int kk = 0;
        for (int j = 2; j < m; j += 2)
        {
            const int k = n - j;
            kk += ks;
            const float wkr = 0.5f - c[nc - kk], wki = c[kk];
            const float xr = a[j] - a[k], xi = a[j + 1] + a[k + 1];
            const float yr = wkr * xr - wki * xi, yi = wkr * xi + wki * xr;
            a[j] = a[j] - yr;
            a[j + 1] = a[j + 1] - yi;
            a[k] = a[k] + yr;
            a[k + 1] = a[k + 1] - yi;
        }
    }

    int n;
    int nc = 0;
    std::vector<float> w;
    std::vector<float> c;
};

bool sameBits(float a, float b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}
}

TEST(CFFT, MatchesTheDftLayoutAndRoundTripsToHalfTheInput)
{
    for (int n : {4, 8, 32, 128, 1024, 4096})
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
        // The round trip scales by n/2 and scale() by 1/n.
        fft.transform(data.data(), true);
        fft.scale(data.data());
        for (int i = 0; i < n; ++i)
            ASSERT_NEAR(data[size_t(i)], x[size_t(i)] * 0.5, 1e-5 * rms(x)) << "n=" << n << " i=" << i;
    }
}

TEST(CFFT, GivesTheBitsOfThePlainTransform)
{
    // Noise with exact zeros of both signs sprinkled in: products with zero
    // twiddles and sums of opposite zeros are where a reordered operation
    // would first change a sign bit.
    for (int n : {4, 8, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096, 8192})
        for (bool inverse : {false, true})
        {
            std::vector<float> x = noise(n, 1234u + uint32_t(n) + (inverse ? 1u : 0u));
            for (int i = 0; i < n; i += 7)
                x[size_t(i)] = (i % 3 == 0) ? -0.0f : 0.0f;
            std::vector<float> expected = x;
            PlainRealFft(n).transform(expected.data(), inverse);
            CFFT fft(n);
            fft.transform(x.data(), inverse);
            for (int i = 0; i < n; ++i)
                ASSERT_TRUE(sameBits(x[size_t(i)], expected[size_t(i)]))
                    << "n=" << n << (inverse ? " inverse" : " forward") << " i=" << i << ": " << x[size_t(i)] << " vs "
                    << expected[size_t(i)];
        }
}
