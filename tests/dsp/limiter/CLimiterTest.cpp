#include "limiter/CLimiter.h"
#include "limiter/LimiterTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

using namespace limiter_test;

// What the limiter does to the signal path, against what the mathematics of
// its stages predicts: the noise of silence, the ceiling, the look-ahead.
// That the fast path computes the plain loop bit for bit, for any block size,
// is CLimiterReferenceTest's.

TEST(CLimiterSilenceTest, SilenceBecomesTinyNoiseBehindTheFrameStage)
{
    // Construction settings. The noise is added where the frame stage hands
    // its output on, so it passes only the 511-sample delay line: it leaves
    // from sample 511 on, before the full latency. Its sign follows the
    // generator, so both signs come about equally often.
    CLimiter limiter(2);
    const int frames = latency + 20000;
    const Buffer out = render(limiter, makeBuffer(2, frames), 512);
    for (int ch = 0; ch < 2; ++ch)
    {
        int positive = 0;
        for (int n = 0; n < frames; ++n)
        {
            ASSERT_LE(std::fabs(out[ch][n]), noiseBound) << "channel " << ch << ", sample " << n;
            if (n >= 511)
            {
                ASSERT_NE(out[ch][n], 0.0f) << "channel " << ch << ", sample " << n;
            }
            positive += out[ch][n] > 0.0f;
        }
        const double share = positive / static_cast<double>(frames - 511);
        EXPECT_GT(share, 0.45) << "channel " << ch;
        EXPECT_LT(share, 0.55) << "channel " << ch;
    }
}

// The owner of the ceiling: on loud material, across the settings, no
// sample leaves beyond the clip level, and limited output reaches it.
TEST(CLimiterCeilingTest, OutputStaysWithinTheClipLevelAcrossSettings)
{
    // Random settings, edges drawn often: instant times, no or the clamped
    // longest look-ahead, coarse shaped word lengths, every rate.
    const int frames = latency + 8192;
    std::mt19937 random(1);
    for (int k = 0; k < 100; ++k)
    {
        CLimiter limiter(2);
        bool monitor = false;
        for (int which = 0; which < settingCount; ++which)
        {
            const Change c = randomChange(random, which);
            c.applyTo(limiter);
            monitor = which == 8 ? c.value > 0.5f : monitor;
        }
        const Buffer out = render(limiter, loudMix(44100.0f, frames, uint32_t(k)), 512);
        const float clip = limiter.getClipLevel();
        float loudest = 0.0f;
        for (int ch = 0; ch < 2; ++ch)
            for (int n = 0; n < frames; ++n)
            {
                ASSERT_TRUE(std::isfinite(out[ch][n])) << "case " << k << ", channel " << ch << ", sample " << n;
                ASSERT_LE(std::fabs(out[ch][n]), clip) << "case " << k << ", channel " << ch << ", sample " << n;
                loudest = std::max(loudest, std::fabs(out[ch][n]));
            }
        // Neither muted nor bypassed: the mix peaks far above the ceiling,
        // so limited output reaches it (monitoring plays at unity gain).
        if (!monitor)
        {
            EXPECT_GT(loudest, 0.9f * clip) << "case " << k;
        }
    }
}

TEST(CLimiterClipLevelTest, WordLengthsRoundTheCeilingDown)
{
    struct Case
    {
        int bits;
        float ceilingDb;
        double clip;
    };
    const Case cases[] = {
        {8, -0.1f, 126.0 / 128.0},     // 126.5
        {8, -10.0f, 40.0 / 128.0},     // 40.48
        {8, -1.0f, 114.0 / 128.0},     // 114.08
        {16, -10.0f, 10362.0 / 32768.0}, // 10362.35
        {16, -1.0f, 29204.0 / 32768.0},  // 29204.5
        {24, -0.1f, 8292584.0 / 8388608.0},  // 8292584.4
        {24, -10.0f, 2652710.0 / 8388608.0}, // 2652710.77
        {0, -0.1f, 0.98855309},        // no rounding without a word length
        {0, -10.0f, 0.31622777},
        {2, -0.1f, 0.98855309},        // 2 bits or fewer: no word length either
        {40, 0.0f, 1.0},               // a grid finer than a float's
    };
    for (const Case& c : cases)
    {
        SetUpLimiter limiter(Settings().withBits(c.bits).withCeiling(c.ceilingDb));
        render(limiter, makeBuffer(2, 64), 64);
        // 10^(dB/20) in single precision may differ by one rounding between two
        // correct implementations; from 24 bits on that moves the product
        // onto the grid by half a step, so one step either way is allowed.
        EXPECT_NEAR(limiter.getClipLevel(), c.clip, c.bits >= 24 ? std::ldexp(1.0, 1 - c.bits) : 1e-6) << c.bits << " bits, " << c.ceilingDb << " dB";
    }
}

namespace
{
struct LookaheadCase
{
    float fs;
    float seconds;
    int samples;
};

// Output sample from which a click changes the left channel: the two runs
// differ only in one input sample, start from the same generator states, and
// are compared bit for bit. Returns -1 if they never differ.
long firstAffectedSample(const Settings& s, float clickSize, int clickAt, int frames)
{
    Buffer in = alternating(frames, 0.2f, 0.2f);
    const Buffer plain = renderFromStart(s, in);
    in[0][clickAt] = clickSize;
    const Buffer clicked = renderFromStart(s, in);
    // Link 0: the right channel must not notice the click at all.
    EXPECT_EQ(std::memcmp(plain[1].data(), clicked[1].data(), plain[1].size() * sizeof(float)), 0)
        << "right channel changed";
    for (size_t n = 0; n < plain[0].size(); ++n)
        if (std::memcmp(&plain[0][n], &clicked[0][n], sizeof(float)) != 0)
        {
            EXPECT_LT(std::fabs(clicked[0][n]), std::fabs(plain[0][n])) << "the first change must be a gain drop";
            return long(n);
        }
    return -1;
}
}

TEST(CLimiterLookaheadTest, GainStartsFallingExactlyTheRoundedClampedLookaheadBeforeAPeak)
{
    // The detector reads the delay line L samples ahead of the output tap, so
    // the click is first seen while the output is L samples before it, and
    // from that very sample the smoothing sections rise above the ceiling.
    // The click is a hundred times the ceiling: with the slowest smoothing
    // (L = 507, c = 0.98) the fourth section moves only 99(1-c)^4 = 1.4e-5 on
    // the first step, and it must clear the few float steps (up to 25, or
    // 1.5e-6, for that c) that a section can stay short of a level it has
    // settled on. No saturation: the frame stage then passes samples one by
    // one and cannot spread the click.
    // The look-ahead in samples is rounded and clamped to 4..507, of the
    // rate clamped to 22050..192000 Hz.
    const LookaheadCase cases[] = {
        {44100.0f, 0.0f, 4},      {44100.0f, -1.0f, 4},     {44100.0f, 0.00005f, 4}, // 2.2 samples
        {44100.0f, 0.001f, 44},   {44100.0f, 0.00136f, 60}, // 59.98 rounds up
        {22050.0f, 0.002f, 44},   {96000.0f, 0.001f, 96},   {192000.0f, 0.0026f, 499},
        {192000.0f, 0.003f, 507}, {44100.0f, 1e30f, 507}, // 576 and more clamped
        {8000.0f, 0.002f, 44},    {384000.0f, 0.001f, 192},
    };
    const int clickAt = 2000;
    for (const LookaheadCase& c : cases)
    {
        const Settings s = Settings().withRate(c.fs).withLookahead(c.seconds).withLink(0.0f);
        SetUpLimiter limiter(s);
        EXPECT_EQ(limiter.getLookaheadSamples(), c.samples) << "fs " << c.fs << ", " << c.seconds << " s";
        EXPECT_EQ(limiter.getLatency(), latency);
        EXPECT_EQ(firstAffectedSample(s, 100.0f, clickAt, latency + 3000), clickAt + latency - c.samples)
            << "fs " << c.fs << ", look-ahead " << c.seconds;
    }
    // The true-peak detector answers for the sample before its newest input,
    // and the limiter reads one sample further ahead to make up for it: a
    // click of 5 is seen at the same output sample. A click of 20 is seen one
    // sample earlier still, as the newest input of the quarter-point filter
    // (-0.106 x 20 = -2.1, beyond the ceiling).
    const Settings truePeak = Settings().withTruePeak(true).withLink(0.0f);
    EXPECT_EQ(firstAffectedSample(truePeak, 5.0f, clickAt, latency + 3000), clickAt + latency - 88);
    EXPECT_EQ(firstAffectedSample(truePeak, 20.0f, clickAt, latency + 3000), clickAt + latency - 89);
}
