#include "blocks/CVu.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace
{
const float floorLevel = 1e-8f;

// Two ulps just below 1.0: fall and rise come from one division, one product
// and one exp, each rounded in float; their exponents are tiny, so the
// rounding of the result itself dominates.
const double coefficientTolerance = std::ldexp(1.0, -23);

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

TEST(CVuTest, SetTimeClampsTheRateAndDividesItByTheDecimation)
{
    // fall = exp(-1/(tau r)) and rise = exp(1/(tau r)) at r readings a
    // second: the rate clamped to 22050..192000 over the decimation. A new
    // meter has 0.5 s at 44.1 kHz.
    const double cases[][3] = {// rate (0: untouched), decimation, readings per second
                               {0.0, 1, 44100.0},
                               {48000.0, 1, 48000.0},
                               {10000.0, 1, 22050.0},
                               {400000.0, 1, 192000.0},
                               {44100.0, 64, 689.0625}};
    for (const auto& c : cases)
    {
        CVu meter;
        if (c[0] > 0.0)
            meter.setTime(0.5f, float(c[0]), int(c[1]));
        const double exponent = 1.0 / (0.5 * c[2]);
        // Above 1 an ulp is 2^-23; float exp of the 64 times larger
        // decimated exponent is given one ulp more.
        const double riseTolerance = (c[1] > 1.0 ? 2.0 : 1.0) * coefficientTolerance;
        EXPECT_NEAR(meter.getFall(), std::exp(-exponent), coefficientTolerance) << "rate " << c[0];
        EXPECT_NEAR(meter.getRise(), std::exp(exponent), riseTolerance) << "rate " << c[0];
    }
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
