#include "GainReductionMeter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace
{
// Stereo frames holding constant magnitudes that alternate in sign.
std::vector<float> steady(float left, float right, size_t frames)
{
    std::vector<float> samples;
    for (size_t frame = 0; frame < frames; ++frame)
    {
        const float sign = frame % 2 == 0 ? 1.0f : -1.0f;
        samples.push_back(sign * left);
        samples.push_back(sign * right);
    }
    return samples;
}
}

// With an input gain of g dB, input level p and output level q, a window's
// reduction is g + 20 log10(p / q); float samples carry the ratio to about
// 1e-7, so 1e-4 dB is ample. 10 ms at 1000 Hz is 10 frames; the second of
// three windows is reduced by a further 12 dB left and 6 dB right.
TEST(GainReductionMeter, LargestAndMeanPerChannelWhereverTheBlocksEnd)
{
    GainReductionMeter meter(2, 1000, 6.0);
    std::vector<float> input = steady(0.8f, 0.8f, 30);
    const std::vector<float> full = steady(0.8f, 0.8f, 10);
    const std::vector<float> reduced = steady(0.2f, 0.4f, 10);
    std::vector<float> output = full;
    output.insert(output.end(), reduced.begin(), reduced.end());
    output.insert(output.end(), full.begin(), full.end());
    // Fed in pieces that straddle window edges.
    meter.addInput(input.data(), 7);
    meter.addInput(input.data() + 14, 23);
    meter.addOutput(output.data(), 13);
    meter.addOutput(output.data() + 26, 17);
    const std::vector<double> largest = meter.getLargestReductionDb();
    const std::vector<double> mean = meter.getMeanReductionDb();
    ASSERT_EQ(largest.size(), 2u);
    for (size_t channel = 0; channel < 2; ++channel)
    {
        const double further = 20.0 * std::log10(channel == 0 ? 4.0 : 2.0);
        EXPECT_NEAR(largest[channel], 6.0 + further, 1e-4);
        EXPECT_NEAR(mean[channel], 6.0 + further / 3.0, 1e-4);
    }
}

TEST(GainReductionMeter, QuietWindowsAndLouderOutputCountAsNoReduction)
{
    GainReductionMeter meter(2, 1000, 0.0);
    // Left: input at -66 dBFS (under the -60 dBFS floor) against silence.
    // Right: the output is louder than the input.
    const std::vector<float> input = steady(0.0005f, 0.1f, 20);
    const std::vector<float> output = steady(0.0f, 0.2f, 20);
    meter.addInput(input.data(), 20);
    meter.addOutput(output.data(), 20);
    const std::vector<double> reduction = meter.getLargestReductionDb();
    EXPECT_EQ(reduction[0], 0.0);
    EXPECT_EQ(reduction[1], 0.0);
}
