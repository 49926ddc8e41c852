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
