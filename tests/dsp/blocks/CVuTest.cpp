#include "blocks/CVu.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace
{
void feed(CVu& meter, float x, int count)
{
    const std::vector<float> block(static_cast<size_t>(count), x);
    meter.process(block.data(), static_cast<uint32_t>(block.size()));
}
}

TEST(CVuTest, PeakIsHeldUntilReadThenFallsByFallPerSample)
{
    CVu meter;
    feed(meter, -0.5f, 1); // the magnitude is metered
    feed(meter, 0.0f, 10000);
    EXPECT_EQ(meter.peekValue(), 0.5f);
    EXPECT_EQ(meter.getValue(), 0.5f);

    const float fall = meter.getFall();
    float expected = 0.5f;
    for (int i = 0; i < 5; ++i)
    {
        feed(meter, 0.0f, 1);
        expected *= fall; // one float product per sample, nothing else
        EXPECT_EQ(meter.peekValue(), expected) << "sample " << i;
    }
    // An input equal to the reading is not a new peak: the release goes on.
    feed(meter, expected, 1);
    EXPECT_EQ(meter.peekValue(), expected * fall);

    // One time constant later (0.5 s): 0.5/e. Each of the n = 22050 steps
    // rounds once (relative 2^-24), so the drift stays below n 2^-24 = 1.3e-3.
    const int n = 22050;
    feed(meter, 0.0f, n - 6);
    EXPECT_NEAR(meter.peekValue(), 0.5 * std::pow(static_cast<double>(fall), n),
                0.5 * n * std::ldexp(1.0, -24));
    EXPECT_NEAR(meter.peekValue(), 0.5 / std::exp(1.0), 2e-3);
}

TEST(CVuTest, InvertedMeterHoldsTheDipThenRecoversUpToTheLimit)
{
    CVu meter;
    meter.setInverted(true);
    EXPECT_EQ(meter.peekValue(), 1.0f);
    feed(meter, 0.25f, 1);
    feed(meter, 1.0f, 5000);
    EXPECT_EQ(meter.peekValue(), 0.25f);
    EXPECT_EQ(meter.getValue(), 0.25f);

    // One time constant: 0.25 e; rounding drift below n 2^-24 as for the fall.
    const int n = 22050;
    feed(meter, 1.0f, n);
    EXPECT_NEAR(meter.peekValue(), 0.25 * std::exp(1.0), 0.25 * std::exp(1.0) * n * std::ldexp(1.0, -23));

    // ln 4 x 22050 = 30568 samples reach the limit; it is never passed.
    float highest = 0.0f;
    for (int i = 0; i < 20000; ++i)
    {
        feed(meter, 1.0f, 1);
        highest = std::max(highest, meter.peekValue());
    }
    EXPECT_EQ(highest, 1.0f);
    EXPECT_EQ(meter.peekValue(), 1.0f);
}
