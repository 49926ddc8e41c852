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

TEST(CVuTest, NewMeterRestsAtTheFloorWithHalfSecondRelease)
{
    CVu meter;
    EXPECT_EQ(meter.peekValue(), floorLevel);
    EXPECT_NEAR(meter.getFall(), std::exp(-1.0 / (0.5 * 44100.0)), coefficientTolerance);
    EXPECT_NEAR(meter.getRise(), std::exp(1.0 / (0.5 * 44100.0)), coefficientTolerance);
    // Silence on a meter at the floor changes nothing, read or not.
    meter.getValue();
    feed(meter, 0.0f, 100);
    EXPECT_EQ(meter.peekValue(), floorLevel);
    meter.process(nullptr, 0);
    EXPECT_EQ(meter.peekValue(), floorLevel);
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

    // A new, higher peak during the release is held again until read.
    feed(meter, 0.25f, 1);
    feed(meter, 0.0f, 100);
    EXPECT_EQ(meter.peekValue(), 0.25f);
    EXPECT_EQ(meter.getValue(), 0.25f);
    feed(meter, 0.0f, 1);
    EXPECT_EQ(meter.peekValue(), 0.25f * fall);
}

TEST(CVuTest, ReleaseStopsAtOrBelowTheFloor)
{
    CVu meter;
    meter.setTime(0.001f, 44100.0f, 1); // fall = exp(-1/44.1) = 0.977
    const float fall = meter.getFall();
    feed(meter, 0.5f, 1);
    meter.getValue();
    // 0.5 -> 1e-8 takes ln(5e7) x 44.1 = 782 samples.
    feed(meter, 0.0f, 2000);
    const float rest = meter.peekValue();
    EXPECT_LE(rest, floorLevel);
    EXPECT_GT(rest, floorLevel * fall * 0.999f); // the last step started above it
    feed(meter, 0.0f, 1000);
    EXPECT_EQ(meter.peekValue(), rest);
}

TEST(CVuTest, SetTimeClampsTheRateAndFloorsTheTime)
{
    CVu meter;
    meter.setTime(0.5f, 48000.0f, 1);
    EXPECT_NEAR(meter.getFall(), std::exp(-1.0 / 24000.0), coefficientTolerance);

    CVu reference;
    reference.setTime(0.5f, 22050.0f, 1);
    meter.setTime(0.5f, 10000.0f, 1);
    EXPECT_EQ(meter.getFall(), reference.getFall());
    EXPECT_EQ(meter.getRise(), reference.getRise());
    EXPECT_NEAR(meter.getFall(), std::exp(-1.0 / 11025.0), coefficientTolerance);

    reference.setTime(0.5f, 192000.0f, 1);
    meter.setTime(0.5f, 400000.0f, 1);
    EXPECT_EQ(meter.getFall(), reference.getFall());
    EXPECT_NEAR(meter.getFall(), std::exp(-1.0 / 96000.0), coefficientTolerance);

    // Decimation by 64 at 44.1 kHz: 689.0625 readings per second, so the
    // time constant stays 0.5 s of audio.
    meter.setTime(0.5f, 44100.0f, 64);
    EXPECT_NEAR(meter.getFall(), std::exp(-1.0 / (0.5 * 689.0625)), coefficientTolerance);
    EXPECT_NEAR(meter.getRise(), std::exp(1.0 / (0.5 * 689.0625)), 2.0 * coefficientTolerance);

    // Zero time is raised to 1e-8 s: exp(-2268) underflows, release is instant.
    meter.setTime(0.0f, 44100.0f, 1);
    EXPECT_EQ(meter.getFall(), 0.0f);
    reference.setTime(-3.0f, 44100.0f, 1);
    EXPECT_EQ(reference.getFall(), 0.0f);
}

TEST(CVuTest, SetTimeKeepsTheReadingAndZeroTimeReleasesAtOnce)
{
    CVu meter;
    feed(meter, 0.7f, 1);
    meter.setTime(0.0f, 44100.0f, 1);
    EXPECT_EQ(meter.peekValue(), 0.7f);
    feed(meter, 0.0f, 10);
    EXPECT_EQ(meter.peekValue(), 0.7f); // still held: not read yet
    EXPECT_EQ(meter.getValue(), 0.7f);
    feed(meter, 0.0f, 1);
    EXPECT_EQ(meter.peekValue(), 0.0f);
    feed(meter, 0.0f, 10);
    EXPECT_EQ(meter.peekValue(), 0.0f);
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

    const float rise = meter.getRise();
    float expected = 0.25f;
    for (int i = 0; i < 5; ++i)
    {
        feed(meter, 1.0f, 1);
        expected *= rise;
        EXPECT_EQ(meter.peekValue(), expected) << "sample " << i;
    }
    // One time constant: 0.25 e; rounding drift below n 2^-24 as for the fall.
    const int n = 22050;
    feed(meter, 1.0f, n - 5);
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

TEST(CVuTest, InvertedMeterFloorsZeroAndDoesNotClipToANewLimit)
{
    CVu meter;
    meter.setInverted(true);
    feed(meter, 0.0f, 3);
    EXPECT_EQ(meter.peekValue(), floorLevel);

    meter.reset();
    EXPECT_EQ(meter.peekValue(), 1.0f);
    // Lowering the limit leaves the reading alone; only a new dip and the
    // recovery from it see the new limit.
    meter.setUpperLimit(0.5f);
    meter.getValue();
    feed(meter, 1.0f, 100);
    EXPECT_EQ(meter.peekValue(), 1.0f);
    feed(meter, 0.3f, 1);
    meter.getValue();
    meter.setTime(0.001f, 44100.0f, 1);
    feed(meter, 1.0f, 1000); // 0.3 -> 0.5 takes ln(5/3) x 44.1 = 23 samples
    EXPECT_EQ(meter.peekValue(), 0.5f);
}

TEST(CVuTest, ChangingTheModeResetsButRepeatingItDoesNot)
{
    CVu meter;
    feed(meter, 0.7f, 1);
    meter.setInverted(false);
    EXPECT_EQ(meter.peekValue(), 0.7f);

    meter.setUpperLimit(0.8f);
    meter.setInverted(true);
    EXPECT_EQ(meter.peekValue(), 0.8f);
    feed(meter, 0.25f, 1);
    meter.setInverted(true);
    EXPECT_EQ(meter.peekValue(), 0.25f);

    // Back to peak mode: at the floor.
    meter.setInverted(false);
    EXPECT_EQ(meter.peekValue(), floorLevel);

    // A reset also forgets an earlier read: after the mode change the
    // reading rests at the limit and does not recover towards a raised
    // limit until it has been read again.
    meter.getValue();
    meter.setInverted(true);
    EXPECT_EQ(meter.peekValue(), 0.8f);
    meter.setUpperLimit(1.0f);
    feed(meter, 1.0f, 100);
    EXPECT_EQ(meter.peekValue(), 0.8f);
    meter.getValue();
    feed(meter, 1.0f, 1);
    EXPECT_EQ(meter.peekValue(), 0.8f * meter.getRise());
}
