#include "DemoMix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace
{
double rms(const std::vector<float>& interleaved, int channel, double fromSeconds, double toSeconds, int rate)
{
    const size_t first = static_cast<size_t>(fromSeconds * rate);
    const size_t last = static_cast<size_t>(toSeconds * rate);
    double sum = 0.0;
    for (size_t frame = first; frame < last; ++frame)
    {
        const double sample = interleaved[2 * frame + static_cast<size_t>(channel)];
        sum += sample * sample;
    }
    return std::sqrt(sum / static_cast<double>(last - first));
}
}

TEST(DemoMix, SameSamplesEveryTimeAndTheRequestedLength)
{
    const std::vector<float> first = DemoMix(48000).render(2.5);
    const std::vector<float> second = DemoMix(48000).render(2.5);
    EXPECT_EQ(first.size(), 2u * 120000u);
    EXPECT_EQ(first, second);
    EXPECT_EQ(DemoMix(44100).render(1.0).size(), 2u * 44100u);
    EXPECT_TRUE(DemoMix(44100).render(0.0).empty());
}

TEST(DemoMix, PeakSitsAtMinusThreeDbfsWithoutClipping)
{
    const std::vector<float> mix = DemoMix(48000).render(8.0);
    float peak = 0.0f;
    for (float sample : mix)
    {
        peak = std::max(peak, std::fabs(sample));
    }
    // Scaled in double and stored as float: within a float's relative 1e-7.
    EXPECT_NEAR(20.0 * std::log10(peak), DemoMix::peakDbfs, 1e-5);
}

// Every beat starts with a kick that decays within the beat: the first
// 50 ms of a beat are far louder than the 50 ms before the next one.
TEST(DemoMix, KicksLandOnTheBeats)
{
    const int rate = 48000;
    const std::vector<float> mix = DemoMix(rate).render(4.0);
    for (int beat = 0; beat < 7; ++beat)
    {
        const double start = beat * DemoMix::beatSeconds;
        const double onBeat = rms(mix, 0, start, start + 0.05, rate);
        const double beforeNext = rms(mix, 0, start + DemoMix::beatSeconds - 0.05, start + DemoMix::beatSeconds, rate);
        EXPECT_GT(onBeat, 2.0 * beforeNext) << "beat " << beat;
    }
}

TEST(DemoMix, ChordsAndHatsMakeTheChannelsDiffer)
{
    const std::vector<float> mix = DemoMix(48000).render(2.0);
    double difference = 0.0;
    for (size_t frame = 0; frame < mix.size() / 2; ++frame)
    {
        difference = std::max(difference, std::fabs(static_cast<double>(mix[2 * frame] - mix[2 * frame + 1])));
    }
    EXPECT_GT(difference, 0.01);
}
