#include "blocks/CQuantizer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numeric>
#include <vector>

namespace
{
const double pi = 3.14159265358979323846;

// The dither generator written out independently: 64-bit product, reduced
// modulo 2^32 by masking.
uint32_t advance(uint32_t state)
{
    return static_cast<uint32_t>((static_cast<uint64_t>(state) * 214013u + 2531011u) & 0xFFFFFFFFu);
}

int drawFrom(uint32_t state)
{
    return static_cast<int>((state >> 16) & 0x7FFFu);
}

CQuantizer makeQuantizer(int8_t bits, float shaping, float rate)
{
    CQuantizer quantizer;
    quantizer.setRate(rate);
    quantizer.setWordLength(bits);
    quantizer.setShaping(shaping);
    return quantizer;
}

// Quantises n copies of x, starting the shared generator at seed.
std::vector<float> run(CQuantizer& quantizer, uint32_t seed, float x, int n)
{
    randState.store(seed);
    std::vector<float> out(static_cast<size_t>(n), x);
    for (float& sample : out)
        quantizer.process(&sample);
    return out;
}

// |H|^2 of the audio-cookbook low shelf, in double, at frequency f.
double shelfPower(double gainDb, double corner, double q, double fs, double f)
{
    const double A = std::pow(10.0, gainDb / 40.0);
    const double w0 = 2.0 * pi * corner / fs;
    const double cs = std::cos(w0);
    const double alpha = std::sin(w0) / (2.0 * q);
    const double r = 2.0 * std::sqrt(A);
    const double b0 = A * ((A + 1.0) - (A - 1.0) * cs + r * alpha);
    const double b1 = 2.0 * A * ((A - 1.0) - (A + 1.0) * cs);
    const double b2 = A * ((A + 1.0) - (A - 1.0) * cs - r * alpha);
    const double a0 = (A + 1.0) + (A - 1.0) * cs + r * alpha;
    const double a1 = -2.0 * ((A - 1.0) + (A + 1.0) * cs);
    const double a2 = (A + 1.0) + (A - 1.0) * cs - r * alpha;
    const std::complex<double> z1 = std::polar(1.0, -2.0 * pi * f / fs);
    const std::complex<double> z2 = z1 * z1;
    return std::norm(b0 + b1 * z1 + b2 * z2) / std::norm(a0 + a1 * z1 + a2 * z2);
}

const int segment = 1024;

// Welch estimate (Hann window, no overlap) of the power in bin k.
double welchPower(const std::vector<double>& noise, int k)
{
    static const std::vector<double> window = [] {
        std::vector<double> w(segment);
        for (int n = 0; n < segment; ++n)
            w[n] = 0.5 - 0.5 * std::cos(2.0 * pi * n / segment);
        return w;
    }();
    const std::complex<double> step = std::polar(1.0, -2.0 * pi * k / segment);
    double total = 0.0;
    for (size_t start = 0; start + segment <= noise.size(); start += segment)
    {
        std::complex<double> phasor = 1.0;
        std::complex<double> sum = 0.0;
        for (int n = 0; n < segment; ++n)
        {
            sum += noise[start + n] * window[n] * phasor;
            phasor *= step;
        }
        total += std::norm(sum);
    }
    return total;
}

// The power of the bins of a segment-long DFT between 1 and 2.5 kHz over that
// between 0.45 fs - 1.5 kHz and 0.45 fs, in dB.
template <class Power>
double lowOverHighDb(double fs, Power powerInBin)
{
    double low = 0.0, high = 0.0;
    for (int k = 1; k < segment / 2; ++k)
    {
        const double f = k * fs / segment;
        if (f >= 1000.0 && f <= 2500.0)
            low += powerInBin(k);
        if (f >= 0.45 * fs - 1500.0 && f <= 0.45 * fs)
            high += powerInBin(k);
    }
    return 10.0 * std::log10(low / high);
}
}

TEST(CQuantizerTest, SixteenBitsFollowEachDitherDrawWithSevenStepsOfHeadroom)
{
    // Without shaping the filter never moves off zero, so the output is
    // floor(v + d) steps, with v = x (32768 - 7) and d = (r - 16384)/32768,
    // one draw r per sample. Near full scale v + d is first rounded to the
    // float grid (1/512 = 64 dither units at 32761), so a dither within 32
    // units below zero may land on v itself.
    CQuantizer quantizer = makeQuantizer(16, 0.0f, 44100.0f);
    const uint32_t seed = 99u;
    for (float level : {0.0f, 1.0f, -1.0f})
    {
        const double v = level * 32761.0;
        const std::vector<float> out = run(quantizer, seed, level, 20000);
        uint32_t state = seed;
        for (size_t i = 0; i < out.size(); ++i)
        {
            state = advance(state);
            const int k = drawFrom(state) - 16384;
            const float steps = out[i] * 32768.0f;
            const float expected = static_cast<float>(std::floor(v + k / 32768.0));
            if (level != 0.0f && k < 0 && k >= -32)
                ASSERT_TRUE(steps == expected || steps == v) << "level " << level << ", sample " << i;
            else
                ASSERT_EQ(steps, expected) << "level " << level << ", sample " << i;
        }
        EXPECT_EQ(randState.load(), state) << "level " << level;
    }
    // Overload clips to the ends of the word.
    for (float out : run(quantizer, 5u, 4.0f, 100))
        ASSERT_EQ(out, 32767.0f / 32768.0f);
    for (float out : run(quantizer, 5u, -4.0f, 100))
        ASSERT_EQ(out, -1.0f);
}

TEST(CQuantizerTest, NoiseFollowsTheShelfThatTheRateSelects)
{
    // In steps, with silence in, the output is q = (1 - E) e - 1/2, where the
    // error e = floor(v + d) - v + 1/2 has zero mean given the past (the
    // rectangular dither makes E[floor(v + d)] = v - 1/2 for any v). So e is
    // white and the noise spectrum is |1 - E|^2, the low shelf up to a
    // constant. The Welch estimate (256 Hann segments, >= 25 bins a band)
    // puts the band ratio within about 0.1 dB (one standard deviation, also
    // seen across seeds); the bands are hundreds of bins apart, so leakage
    // between them is below -90 dB. 0.5 dB is five deviations, while the
    // wrong shelf for a rate misses by 30 dB.
    const int samples = 256 * segment;
    struct Case
    {
        float rate;
        float shaping;
        double gainDb;
        double corner;
        double q;
    };
    const Case cases[] = {
        {44100.0f, 0.0f, 0.0, 15000.0, 1.5},
        {44100.0f, 1.0f, -30.0, 15000.0, 1.5},
        {40000.0f, 1.0f, -30.0, 15000.0, 1.5},  // exactly 40 kHz: high-rate shelf
        {39999.0f, 1.0f, 20.0, 300.0, 0.3},     // just below: low-rate shelf
        {22050.0f, 0.5f, 10.0, 300.0, 0.3},
    };
    for (const Case& c : cases)
    {
        // The shaped requantisation noise of a silent 16-bit input, in steps:
        // the output plus the half step by which floor() sits below the input
        // on average.
        CQuantizer quantizer = makeQuantizer(16, c.shaping, c.rate);
        std::vector<double> noise;
        for (float out : run(quantizer, 2024u, 0.0f, samples))
            noise.push_back(out * 32768.0 + 0.5);
        const double measured = lowOverHighDb(c.rate, [&](int k) { return welchPower(noise, k); });
        const double expected = lowOverHighDb(c.rate, [&](int k) {
            return shelfPower(c.gainDb, c.corner, c.q, c.rate, k * double(c.rate) / segment);
        });
        EXPECT_NEAR(measured, expected, 0.5) << "rate " << c.rate << ", shaping " << c.shaping;

        // The +1/2 in the error keeps it centred: the output sits half a step
        // below the input whatever the shaping.
        EXPECT_NEAR(std::accumulate(noise.begin(), noise.end(), 0.0) / samples, 0.0, 0.02)
            << "rate " << c.rate << ", shaping " << c.shaping;
    }
}
