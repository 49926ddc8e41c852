#include "processor/CPsychoProcessor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace
{
constexpr int transformLength = 1024;

class Bands : public CPsychoProcessor
{
public:
    explicit Bands(int windowType = 0) : CPsychoProcessor(1, 1, transformLength, transformLength, 512, windowType) {}
    using CSBProcessor::downSpread;
    using CSBProcessor::upSpread;
};

// Absolute threshold of hearing in dB (with the -100 dB reference), double.
double quietThresholdDb(double hz)
{
    const double f = std::min(std::max(hz, 20.0), 20000.0) / 1000.0;
    return 3.64 * std::pow(f, -0.8) - 6.5 * std::exp(-0.6 * (f - 3.3) * (f - 3.3)) + 0.001 * std::pow(f, 4.0) - 100.0;
}

// The ERB band law in double: bands start where the previous one ended and
// are round(N * erb(f_start) / fs) bins wide, at least 1, cut at N/2.
std::vector<int> erbLayout(double fs)
{
    std::vector<int> widths;
    for (int i = 0; i < transformLength / 2;)
    {
        const double erb = i * fs / transformLength / 9.265 + 24.7;
        const int w = std::max(int(transformLength * erb / fs + 0.5), 1);
        const int e = std::min(i + w, transformLength / 2);
        widths.push_back(e - i);
        i = e;
    }
    return widths;
}
}

TEST(CSBProcessorBands, LayoutFollowsErbLawAndIsCutAtHalfLength)
{
    for (float fs : {44100.0f, 22050.0f, 96000.0f, 192000.0f})
    {
        Bands bands;
        bands.setSampleRate(fs);
        const auto expected = erbLayout(fs);
        ASSERT_EQ(bands.getBandCount(), int(expected.size())) << fs;
        int total = 0;
        for (int b = 0; b < bands.getBandCount(); ++b)
        {
            EXPECT_EQ(bands.getBinsPerBand()[b], expected[size_t(b)]) << fs << " Hz, band " << b;
            total += bands.getBinsPerBand()[b];
        }
        // Every bin below Nyquist belongs to exactly one band.
        EXPECT_EQ(total, transformLength / 2) << fs;
        // The first band: erb 24.7 Hz is under one bin (0.573 at 44.1 kHz),
        // rounded up to one bin.
        EXPECT_EQ(bands.getBinsPerBand()[0], 1) << fs;
        EXPECT_FLOAT_EQ(bands.getBandCentres()[0], 0.0f) << fs;
    }
}

TEST(CSBProcessorBands, ThresholdsClampedTo20HzAnd20kHz)
{
    Bands bands;
    const int last = bands.getBandCount() - 1;
    ASSERT_GT(bands.getBandCentres()[last], 20000.0f);
    const double at20 = std::pow(10.0, 0.1 * quietThresholdDb(20.0));
    const double at20k = std::pow(10.0, 0.1 * quietThresholdDb(20000.0));
    // Single-precision pow/exp: a few ulps of the dB value, i.e. ~1e-5 relative.
    EXPECT_NEAR(bands.getThresholds()[0] / at20, 1.0, 1e-4);
    EXPECT_NEAR(bands.getThresholds()[last] / at20k, 1.0, 1e-4);
    for (int b = 0; b < bands.getBandCount(); ++b)
    {
        const double expected = std::pow(10.0, 0.1 * quietThresholdDb(bands.getBandCentres()[b]));
        ASSERT_NEAR(bands.getThresholds()[b] / expected, 1.0, 1e-4) << b;
    }
}

TEST(CSBProcessorBands, WeightsNeverExceedOneAndFollowWindowSlope)
{
    for (int type : {0, 1})
    {
        Bands bands(type);
        const double slope = type == 0 ? 1.9 : 3.4;
        int start = 0;
        for (int b = 0; b < bands.getBandCount(); ++b)
        {
            const double erb = start * 44100.0 / transformLength / 9.265 + 24.7;
            const double x = std::min(slope * 20.0 * std::log10(erb * transformLength / 44100.0) - 11.0, 0.0);
            ASSERT_NEAR(bands.getWeights()[b], std::pow(10.0, 0.1 * x), 1e-5) << b;
            ASSERT_LE(bands.getWeights()[b], 1.0f);
            start += bands.getBinsPerBand()[b];
        }
    }
}

TEST(CSBProcessorBands, SmoothingCoefficientFollowsFormula)
{
    Bands bands;
    // exp(-512 / (0.01 * 0.5 * 44100)) = exp(-2.3220): about 0.098.
    EXPECT_NEAR(bands.getPowerCoef(), std::exp(-512.0 / (0.01 * 0.5 * 44100.0)), 1e-6);
    EXPECT_NEAR(bands.getPowerCoef(), 0.098, 0.001);
    // Spreading of 10 dB per band upward and 20 dB downward.
    EXPECT_NEAR(bands.upSpread, 0.1, 1e-7);
    EXPECT_NEAR(bands.downSpread, 0.01, 1e-8);
}

TEST(CSBProcessorBandPower, SumsBinsOfEachBand)
{
    Bands bands;
    std::vector<float> spectrum(transformLength, 0.0f);
    // Put energy in the first bin of band 10.
    int bin = 0;
    for (int b = 0; b < 10; ++b)
        bin += bands.getBinsPerBand()[b];
    spectrum[size_t(2 * bin)] = 3.0f;
    spectrum[size_t(2 * bin + 1)] = 4.0f;
    std::vector<float> power(transformLength / 2, 5.0f);
    bands.bandPower(spectrum.data(), spectrum.data(), power.data(), 0.0f);
    // coef 0: g = 2, old power forgotten: 2 * (1e-16 + 25) in band 10.
    EXPECT_FLOAT_EQ(power[10], 50.0f);
    EXPECT_FLOAT_EQ(power[9], 2e-16f);

    // With smoothing: power = old * coef + g * (1e-16 + energy), g = 2(1-coef).
    std::vector<float> smoothed(transformLength / 2, 10.0f);
    bands.bandPower(spectrum.data(), spectrum.data(), smoothed.data(), 0.25f);
    EXPECT_NEAR(smoothed[10], 10.0f * 0.25f + 1.5f * 25.0f, 1e-4f);
    EXPECT_NEAR(smoothed[3], 2.5f, 1e-6f);
}

TEST(CPsychoMasking, SpreadsTenDbUpAndTwentyDbDown)
{
    Bands bands;
    const int bandCount = bands.getBandCount();
    std::vector<float> power(size_t(bandCount), 0.0f);
    std::vector<float> mask(size_t(bandCount), 0.0f);
    const int loud = 20;
    power[loud] = 1.0f;
    bands.maskingThreshold(power.data(), mask.data(), false, false);
    const float* threshold = bands.getThresholds();
    // -15 dB offset, then 10 dB per band above and 20 dB per band below.
    EXPECT_NEAR(mask[loud] - threshold[loud], 0.03162f, 1e-7f);
    EXPECT_NEAR(mask[loud + 1] - threshold[loud + 1], 0.003162f, 1e-8f);
    EXPECT_NEAR(mask[loud + 2] - threshold[loud + 2], 0.0003162f, 1e-9f);
    EXPECT_NEAR(mask[loud - 1] - threshold[loud - 1], 0.0003162f, 1e-9f);
}

TEST(CPsychoMasking, LouderBandNeverLowersAnyThreshold)
{
    Bands bands;
    const int bandCount = bands.getBandCount();
    std::vector<float> power(static_cast<size_t>(bandCount));
    for (int b = 0; b < bandCount; ++b)
        power[size_t(b)] = 1e-6f * float(1 + (b * 7) % 5);

    for (bool normalise : {false, true})
    {
        for (bool weighted : {false, true})
        {
            std::vector<float> quiet(static_cast<size_t>(bandCount)), loud(static_cast<size_t>(bandCount));
            bands.maskingThreshold(power.data(), quiet.data(), normalise, weighted);
            std::vector<float> louder = power;
            louder[15] *= 1000.0f;
            bands.maskingThreshold(louder.data(), loud.data(), normalise, weighted);
            for (int b = 0; b < bandCount; ++b)
                ASSERT_GE(loud[size_t(b)], quiet[size_t(b)]) << b << " normalise " << normalise;
            EXPECT_GT(loud[15], quiet[15] * 10.0f);
        }
    }
}

TEST(CPsychoMasking, WeightingScalesByBandWeight)
{
    Bands bands;
    const int bandCount = bands.getBandCount();
    std::vector<float> power(size_t(bandCount), 1e-4f);
    std::vector<float> plain(static_cast<size_t>(bandCount)), weighted(static_cast<size_t>(bandCount));
    bands.maskingThreshold(power.data(), plain.data(), true, false);
    bands.maskingThreshold(power.data(), weighted.data(), true, true);
    for (int b = 0; b < bandCount; ++b)
        ASSERT_FLOAT_EQ(weighted[size_t(b)], plain[size_t(b)] * bands.getWeights()[b]) << b;
}

TEST(CPsychoMasking, NormalisedFlatSpectrumStaysNearItsOwnLevel)
{
    // A flat mask M normalises to 1 / sum of the spread weights / M:
    // 1 / ((1 + 0.1 + ... + 0.1^7) + (0.01 + ... + 0.01^8)) * M, away from
    // the edges.
    Bands bands;
    const int bandCount = bands.getBandCount();
    std::vector<float> power(size_t(bandCount), 1.0f);
    std::vector<float> raw(static_cast<size_t>(bandCount)), normalised(static_cast<size_t>(bandCount));
    bands.maskingThreshold(power.data(), raw.data(), false, false);
    bands.maskingThreshold(power.data(), normalised.data(), true, false);
    double up = 0.0, down = 0.0;
    for (int k = 0; k < 8; ++k)
        up += std::pow(0.1, k);
    for (int k = 1; k <= 8; ++k)
        down += std::pow(0.01, k);
    const int b = bandCount / 2;
    EXPECT_NEAR(normalised[size_t(b)] / raw[size_t(b)], 1.0 / (up + down), 1e-4);
}
