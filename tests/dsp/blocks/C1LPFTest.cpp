#include "blocks/C1HPF.h"
#include "blocks/C1LPF.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{
const double pi = 3.14159265358979323846;

// One unit in the last place of a float just below 1.0.
const double ulpBelowOne = std::ldexp(1.0, -24);

double poleFor(double normFreq)
{
    return std::exp(-2.0 * std::atan(pi * normFreq));
}

// Bound on the rounding error that a float one-pole accumulates on a step:
// each sample adds at most about three half-ulps of 1.0 (the difference, the
// product and the sum are each rounded once) and old errors decay with the
// pole, so after n samples the error is below min(n, 1/(1-p)) of that.
double stepErrorBound(double pole, int n)
{
    return 3.0 * ulpBelowOne * std::min(static_cast<double>(n), 1.0 / (1.0 - pole));
}

// The pole p, from the first output of a unit step on a cleared low-pass:
// 1 - p, exact for p >= 0.5 (as is 1 minus it).
float poleOf(C1LPF filter)
{
    filter.clear();
    float y = 1.0f;
    filter.C1LPF::process(&y);
    return 1.0f - y;
}

// Feeds count samples of 1 and returns the last output.
template <class Filter>
float feedOnes(Filter& filter, int count)
{
    float y = 0.0f;
    for (int i = 0; i < count; ++i)
    {
        y = 1.0f;
        filter.process(&y);
    }
    return y;
}
}

TEST(C1LPFTest, TimeConstantSetsTheCornerAndNonPositiveCornersAreFlooredJustBelowOne)
{
    // exp(-2 atan(pi 1e-8)) = 1 - 6.3e-8: rounds to the float just below 1.
    const float floorPole = 1.0f - static_cast<float>(ulpBelowOne);
    for (float fn : {1e-8f, 0.0f, -0.25f, -1e30f})
    {
        C1LPF filter;
        filter.setNormFreq(fn);
        EXPECT_EQ(poleOf(filter), floorPole) << "fn = " << fn;
    }
    // High corners show the pre-warp: without the arctangent a quarter of
    // the rate would give exp(-pi/2) = 0.208 instead of 0.264.
    for (float fn : {0.01f, 0.1f, 0.25f})
    {
        C1LPF filter;
        filter.setNormFreq(fn);
        EXPECT_NEAR(poleOf(filter), poleFor(fn), 1e-6) << "fn = " << fn;
    }

    // The RMS smoother's setting: corner 1/(2 pi tau), about 2.44 Hz.
    const double tau = 0.065144174;
    const double fs = 44100.0;
    const double corner = 1.0 / (2.0 * pi * tau * fs);
    C1LPF lowpass;
    lowpass.setTimeConstant(static_cast<float>(tau), static_cast<float>(fs));
    // The pole's exponent is ~3.5e-4 and carries a few float roundings of
    // relative size 2^-24: far below the ulp of the pole itself.
    EXPECT_NEAR(poleOf(lowpass), poleFor(corner), 4.0 * ulpBelowOne);
}

TEST(C1LPFTest, StepResponsesFollowThePole)
{
    // A 1 Hz corner at 44.1 kHz. atan and exp in float are each within about
    // one ulp; the pole sits just below 1 where one ulp is 2^-24.
    C1LPF lowpass;
    C1HPF highpass;
    lowpass.setNormFreq(1.0f / 44100.0f);
    highpass.setNormFreq(1.0f / 44100.0f);
    const double p = poleOf(highpass);
    EXPECT_NEAR(p, poleFor(1.0 / 44100.0), 4.0 * ulpBelowOne);

    // A unit step: the n-th low-pass output is 1 - p^n, the high-pass one p^n.
    int n = 0;
    for (int checkpoint : {1, 2, 10, 100, 1000, 4410, 10000, 44100})
    {
        const float low = feedOnes(lowpass, checkpoint - n);
        const float high = feedOnes(highpass, checkpoint - n);
        n = checkpoint;
        EXPECT_NEAR(low, 1.0 - std::pow(p, n), stepErrorBound(p, n)) << "n = " << n;
        EXPECT_NEAR(high, std::pow(p, n), stepErrorBound(p, n)) << "n = " << n;
        if (n == 1)
        {
            EXPECT_EQ(high, static_cast<float>(p)); // 1-p and 1-(1-p) are exact
        }
    }
    // One second at a 1 Hz corner: e^-2pi of the step is left.
    EXPECT_NEAR(feedOnes(highpass, 1), std::exp(-2.0 * pi), 1.5e-3);
}
