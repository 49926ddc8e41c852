#include "limiter/CLimiter.h"
#include "limiter/LimiterTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace limiter_test;

// The dynamics against their laws: the attack and the stereo link.

// ---------------------------------------------------------------------------
// Attack, release and the stereo link
// ---------------------------------------------------------------------------

namespace
{
// Group delay, in samples, of the four one-pole smoothing sections for a
// slowly moving level: 4c/(1-c) with c = exp(-10/L).
double smoothingDelay(int lookaheadSamples)
{
    const double c = std::exp(-10.0 / lookaheadSamples);
    return 4.0 * c / (1.0 - c);
}
}

TEST(CLimiterDynamicsTest, LinkedChannelFollowsTheAttackLaw)
{
    // Left: +-0.1 for 1.2 s, then +-4. Right: +-0.1 throughout. Link 0.5
    // hands the right channel the larger envelope, max(1, envL), where the
    // left envelope, at the ceiling after 12 attack times of quiet, climbs as
    //   envL = 4 - 3 exp(-t/attack)
    // from the sample the detector first sees the step, L samples before it
    // reaches the output; the smoothing sections trail it by 4c/(1-c).
    const float fs = 44100.0f;
    const float attack = 0.1f;
    const int L = 88;
    const int quiet = 52920;
    const int frames = quiet + 10000 + latency;
    Buffer in = alternating(frames, 0.1f, 0.1f);
    fillAlternating(in[0], quiet, frames, 4.0f);
    const Buffer out = limit(Settings().withAttack(attack).withRelease(1.0f).withLink(0.5f), in);

    const int stepOut = quiet + latency;
    for (int m : {2205, 4410, 8820})
    {
        const double t = (m + L + 1 - smoothingDelay(L)) / (fs * attack);
        const double envelope = 4.0 - 3.0 * std::exp(-t);
        // Detection lead and trail are known to a few samples: 0.3 %.
        EXPECT_NEAR(std::fabs(out[1][stepOut + m]), quietLevel / envelope, 3e-3 * quietLevel / envelope)
            << m << " samples after the step";
        // The left channel is limited on its own sliding maximum at once.
        EXPECT_NEAR(std::fabs(out[0][stepOut + m]), 1.0, 3e-4) << m << " samples after the step";
    }
}

TEST(CLimiterLinkTest, SettledGainsFollowBothHalvesOfTheLinkLaw)
{
    // Left alternates at +-4, right at +-0.1; attack 0, so each envelope is
    // its sliding maximum. The right channel's level:
    //   link <= 0.5: max(1, 2*link*4)        -> gains 1, 0.5, 0.25 at 0, 0.25, 0.5
    //   link >  0.5: max(1, 2*(link-0.5)*4, 4) = 4, whatever the link.
    const struct { float link; double rightGain; } cases[] = {{0.0f, 1.0}, {0.25f, 0.5}, {0.5f, 0.25}, {0.75f, 0.25}, {1.0f, 0.25}};
    const int frames = latency + 6000;
    const Buffer in = alternating(frames, 4.0f, 0.1f);
    for (const auto& c : cases)
    {
        const Buffer out = limit(Settings().withAttack(0.0f).withRelease(1.0f).withLink(c.link), in);
        EXPECT_LT(worstRelativeDeviation(out[0], latency + 2000, frames, 1.0), 3e-4) << "link " << c.link;
        EXPECT_LT(worstRelativeDeviation(out[1], latency + 2000, frames, quietLevel * c.rightGain), 3e-4)
            << "link " << c.link;
    }
}
