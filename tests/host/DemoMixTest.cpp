#include "DemoMix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

// The same samples every time, as long as asked, peaking at -3 dBFS: scaled
// in double and stored as float, the peak lies within a float's relative
// 1e-7 of it.
TEST(DemoMix, SameSamplesEveryTimeAtTheRequestedLengthAndPeak)
{
    const std::vector<float> mix = DemoMix(48000).render(2.5);
    EXPECT_EQ(mix.size(), 2u * 120000u);
    EXPECT_EQ(mix, DemoMix(48000).render(2.5));
    EXPECT_TRUE(DemoMix(44100).render(0.0).empty());
    float peak = 0.0f;
    for (float sample : mix)
    {
        peak = std::max(peak, std::fabs(sample));
    }
    EXPECT_NEAR(20.0 * std::log10(peak), DemoMix::peakDbfs, 1e-5);
}
