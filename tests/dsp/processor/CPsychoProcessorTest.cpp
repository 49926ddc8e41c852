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

    std::vector<float> mask(const std::vector<float>& power, bool normalise, bool weighted)
    {
        std::vector<float> out(power.size());
        maskingThreshold(power.data(), out.data(), normalise, weighted);
        return out;
    }
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
        // Every bin below Nyquist belongs to exactly one band; the first one
        // is the DC bin alone (erb 24.7 Hz is under one bin, rounded up).
        EXPECT_EQ(total, transformLength / 2) << fs;
        EXPECT_FLOAT_EQ(bands.getBandCentres()[0], 0.0f) << fs;
    }
}

TEST(CSBProcessorBands, ThresholdsClampedTo20HzAnd20kHz)
{
    Bands bands;
    const int last = bands.getBandCount() - 1;
    // The first centre is 0 Hz and the last above 20 kHz: both are clamped.
    ASSERT_GT(bands.getBandCentres()[last], 20000.0f);
    // Single-precision pow/exp: a few ulps of the dB value, i.e. ~1e-5 relative.
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
    std::vector<float> power(size_t(bands.getBandCount()), 0.0f);
    const int loud = 20;
    power[loud] = 1.0f;
    const std::vector<float> mask = bands.mask(power, false, false);
    const float* threshold = bands.getThresholds();
    // -15 dB offset, then 10 dB per band above and 20 dB per band below;
    // the float roundings of the spreading and of the threshold added and
    // taken off again stay far below 3.16e-6 of each value.
    for (int offset : {-1, 0, 1, 2})
    {
        const double expected = 0.03162 * std::pow(0.1, offset >= 0 ? offset : -2 * offset);
        EXPECT_NEAR(mask[loud + offset] - threshold[loud + offset], expected, expected * 3.16e-6) << "offset " << offset;
    }
}

TEST(CPsychoMasking, LouderBandNeverLowersAnyThreshold)
{
    Bands bands;
    const int bandCount = bands.getBandCount();
    std::vector<float> power(static_cast<size_t>(bandCount));
    for (int b = 0; b < bandCount; ++b)
        power[size_t(b)] = 1e-6f * float(1 + (b * 7) % 5);
    std::vector<float> louder = power;
    louder[15] *= 1000.0f;
    for (bool normalise : {false, true})
        for (bool weighted : {false, true})
        {
            const std::vector<float> quiet = bands.mask(power, normalise, weighted);
            const std::vector<float> loud = bands.mask(louder, normalise, weighted);
            for (int b = 0; b < bandCount; ++b)
                ASSERT_GE(loud[size_t(b)], quiet[size_t(b)]) << b << " normalise " << normalise << " weighted " << weighted;
            EXPECT_GT(loud[15], quiet[15] * 10.0f) << "normalise " << normalise << " weighted " << weighted;
        }
}

TEST(CPsychoMasking, WeightingScalesByBandWeight)
{
    Bands bands;
    const std::vector<float> power(size_t(bands.getBandCount()), 1e-4f);
    const std::vector<float> plain = bands.mask(power, true, false);
    const std::vector<float> weighted = bands.mask(power, true, true);
    for (int b = 0; b < bands.getBandCount(); ++b)
        ASSERT_FLOAT_EQ(weighted[size_t(b)], plain[size_t(b)] * bands.getWeights()[b]) << b;
}

TEST(CPsychoMasking, NormalisedFlatSpectrumStaysNearItsOwnLevel)
{
    // A flat mask M normalises to 1 / sum of the spread weights / M:
    // 1 / ((1 + 0.1 + ... + 0.1^7) + (0.01 + ... + 0.01^8)) * M, away from
    // the edges.
    Bands bands;
    const std::vector<float> power(size_t(bands.getBandCount()), 1.0f);
    const std::vector<float> raw = bands.mask(power, false, false);
    const std::vector<float> normalised = bands.mask(power, true, false);
    double spreadSum = 0.0;
    for (int k = 0; k < 8; ++k)
        spreadSum += std::pow(0.1, k) + std::pow(0.01, k + 1);
    const size_t b = size_t(bands.getBandCount() / 2);
    EXPECT_NEAR(normalised[b] / raw[b], 1.0 / spreadSum, 1e-4);
}
