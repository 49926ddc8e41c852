#include "limiter/CLimiter.h"
#include "limiter/LimiterTestSupport.h"

#include <gtest/gtest.h>

#include <xmmintrin.h>

#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace limiter_test;

// What the limiter does, against what the mathematics of its stages
// predicts. That the fast path computes the plain loop bit for bit, for any
// block size, is CLimiterReferenceTest's.
// Every allocation of the test program is counted, so that a test can show
// that none happens inside process(). The library's array and nothrow forms
// call these two.
namespace
{
std::atomic<long> allocationCount{0};

// Kept out of line: inlined into the replaced operator delete, GCC would take
// free() of memory from operator new for a mismatched pair.
[[gnu::noinline]] void release(void* p) noexcept
{
    std::free(p);
}
}

void* operator new(std::size_t size)
{
    allocationCount.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size == 0 ? 1 : size))
        return p;
    throw std::bad_alloc();
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
    allocationCount.fetch_add(1, std::memory_order_relaxed);
    const std::size_t a = static_cast<std::size_t>(alignment);
    if (void* p = std::aligned_alloc(a, (size + a) / a * a))
        return p;
    throw std::bad_alloc();
}

void operator delete(void* p) noexcept { release(p); }
void operator delete(void* p, std::size_t) noexcept { release(p); }
void operator delete(void* p, std::align_val_t) noexcept { release(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { release(p); }

namespace
{
const double pi = 3.14159265358979323846;

// Silence becomes +-1e-8 noise ahead of the 1 Hz high-pass, whose output is
// p*(noise - state), state being a weighted average of earlier noise
// (|state| <= 1e-8): the output of silence is at most 2e-8 in magnitude.
const float noiseBound = 2.01e-8f;

// Pole of the 1 Hz input high-pass: exp(-2 atan(pi/fs)).
double highPassPole(double fs)
{
    return std::exp(-2.0 * std::atan(pi / fs));
}

// Gain of that high-pass for samples alternating in sign: 2p/(1+p), within
// 1.5e-4 of 1 at every supported rate.
double nyquistGain(double fs)
{
    const double p = highPassPole(fs);
    return 2.0 * p / (1.0 + p);
}

// The ceiling rounded down onto the grid of the output word (no rounding for
// 2 bits or fewer).
double expectedClipLevel(float ceilingDb, int bits)
{
    double c = std::pow(10.0, ceilingDb * 0.05);
    if (bits > 2)
    {
        const double q = std::ldexp(1.0, bits - 1);
        c = std::floor(c * q) / q;
    }
    return c;
}

// 10^(dB/20) in single precision may differ by one rounding between two
// correct implementations; at 24 bits that moves the product onto the grid
// by half a step, so one step either way is allowed there.
double clipLevelTolerance(int bits)
{
    return bits > 2 ? std::ldexp(1.0, 1 - bits) : 1e-6;
}

// Renders from the generator states a process starts with, so that two
// renders are comparable bit for bit, noise and dither included.
Buffer renderFromStart(const Settings& settings, const Buffer& in)
{
    restartGenerators();
    return limit(settings, in);
}

// Largest relative deviation of |channel[n]| from expected over [from, to).
double worstRelativeDeviation(const std::vector<float>& channel, int from, int to, double expected)
{
    double worst = 0.0;
    for (int n = from; n < to; ++n)
        worst = std::max(worst, std::fabs(std::fabs(channel[n]) - expected) / expected);
    return worst;
}

std::string describe(const Settings& s)
{
    char text[256];
    std::snprintf(text, sizeof text,
        "fs %.0f, in %+.0f dB, attack %g, release %g, look-ahead %g, true peak %d, ceiling %g dB, "
        "link %g, monitor %d, saturation %g, %d bits, shaping %g",
        s.sampleRate, s.inputGainDb, s.attack, s.release, s.lookahead, s.truePeak, s.ceilingDb, s.link,
        s.monitor, s.saturation, s.bits, s.shaping);
    return text;
}
}


TEST(CLimiterLatencyTest, ImpulseLeavesAfterTheLatencyShapedOnlyByTheOneHertzHighPass)
{
    // Below the ceiling the gain is exactly 1: the detector reads
    // max(|x|, ceiling) = ceiling, so every smoothing section stays at or
    // under the ceiling. The output is then the input delayed by 1024 (frame
    // stage, which reassembles a sample exactly up to rounding when it does
    // not saturate) plus 511 (delay line), through the high-pass
    // y = x - state, state = p*(state - x) + x, i.e. y = p*(x - old state):
    //   first sample p*a, then -(1-p)*p^k*a (plus the noise of silence).
    const Settings cases[] = {Settings().withLookahead(0.002f),
        Settings().withRate(22050.0f).withLookahead(0.0f).withTruePeak(true),
        Settings().withRate(96000.0f).withLookahead(0.003f),
        Settings().withRate(192000.0f).withLookahead(0.001f).withTruePeak(true)};
    const int impulseAt[2] = {100, 300};
    const float amplitude[2] = {0.5f, -0.25f};

    for (const Settings& s : cases)
    {
        SCOPED_TRACE(describe(s));
        Buffer in = makeBuffer(2, latency + 600);
        for (int ch = 0; ch < 2; ++ch)
            in[ch][impulseAt[ch]] = amplitude[ch];
        SetUpLimiter limiter(s);
        const Buffer out = render(limiter, in, 256);
        // Whatever the look-ahead and the rate.
        EXPECT_EQ(limiter.getLatency(), latency);

        const double p = highPassPole(s.sampleRate);
        for (int ch = 0; ch < 2; ++ch)
        {
            const int arrival = impulseAt[ch] + latency;
            const double a = amplitude[ch];
            for (int n = 0; n < arrival; ++n)
                ASSERT_LE(std::fabs(out[ch][n]), noiseBound) << "channel " << ch << ", sample " << n;
            // Frame reassembly: a few float roundings (1e-6 relative).
            EXPECT_NEAR(out[ch][arrival], p * a, std::fabs(a) * 1e-6 + noiseBound) << "channel " << ch;
            // The pole in single precision sits on a grid of 2^-24 near 1,
            // which moves (1-p)*a by up to |a| x 2^-24 (allowed twice, for
            // the roundings of the products); the noise adds 2e-8.
            const double tailTolerance = noiseBound + std::fabs(a) * 2.0 * std::ldexp(1.0, -24);
            for (int k = 1; k <= 200; ++k)
                ASSERT_NEAR(out[ch][arrival + k], -(1.0 - p) * std::pow(p, k) * a, tailTolerance)
                    << "channel " << ch << ", " << k << " after";
        }
    }
}

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
    const float lookaheads[] = {0.0f, 0.001f, 0.003f};
    const float times[] = {0.0f, 1.0f};
    const float links[] = {0.0f, 0.5f, 1.0f};
    const float saturations[] = {0.0f, 0.5f, 1.0f};

    std::vector<Settings> grid;
    int k = 0;
    for (float fs : {22050.0f, 44100.0f, 96000.0f, 192000.0f})
        for (bool truePeak : {false, true})
            for (float ceilingDb : {0.0f, -10.0f})
                for (int bits : {0, 8, 16, 24})
                    for (int j = 0; j < 2; ++j, ++k)
                        // The 36 combinations of the dynamics settings turn
                        // over faster than the rest, so every rate meets
                        // nearly all of them.
                        grid.push_back(Settings().withRate(fs).withTruePeak(truePeak).withCeiling(ceilingDb)
                                           .withBits(bits).withLookahead(lookaheads[k % 3])
                                           .withAttack(times[(k / 3) % 2]).withRelease(times[(k / 6) % 2])
                                           .withLink(links[(k / 12) % 3]).withShaping(((k / 36) % 2) ? 1.0f : 0.0f)
                                           .withSaturation(saturations[(k / 2) % 3])
                                           .withGain((k % 5 == 0) ? 12.0f : 0.0f));
    // The combinations most likely to overshoot: no look-ahead with instant
    // times and coarse shaped 8-bit output under a low ceiling, the clamped
    // longest look-ahead with the slowest times.
    grid.push_back(Settings().withRate(22050.0f).withLookahead(0.0f).withAttack(0.0f).withRelease(0.0f).withLink(1.0f)
                       .withTruePeak(true).withBits(8).withShaping(1.0f).withCeiling(-10.0f).withGain(20.0f)
                       .withSaturation(1.0f));
    grid.push_back(Settings().withRate(192000.0f).withLookahead(0.003f).withAttack(1.0f).withRelease(1.0f)
                       .withLink(0.5f).withTruePeak(true).withBits(24).withShaping(1.0f).withGain(20.0f)
                       .withSaturation(0.5f));

    const int frames = latency + 8192;
    uint32_t seed = 1;
    for (const Settings& s : grid)
    {
        SetUpLimiter limiter(s);
        const Buffer out = render(limiter, loudMix(s.sampleRate, frames, seed++), 512);
        const float clip = limiter.getClipLevel();
        ASSERT_NEAR(clip, expectedClipLevel(s.ceilingDb, s.bits), clipLevelTolerance(s.bits)) << describe(s);
        float loudest = 0.0f;
        for (int ch = 0; ch < 2; ++ch)
            for (int n = 0; n < frames; ++n)
            {
                ASSERT_TRUE(std::isfinite(out[ch][n])) << describe(s) << ", channel " << ch << ", sample " << n;
                ASSERT_LE(std::fabs(out[ch][n]), clip) << describe(s) << ", channel " << ch << ", sample " << n;
                loudest = std::max(loudest, std::fabs(out[ch][n]));
            }
        // Neither muted nor bypassed: the mix peaks far above the ceiling,
        // so limited output reaches it (monitoring plays at unity gain).
        if (!s.monitor)
        {
            EXPECT_GT(loudest, 0.9f * clip) << describe(s);
        }
    }
}

namespace
{
// Instant dynamics, so that the clip level alone decides what leaves.
Settings clickSettings(int bits, float ceilingDb)
{
    return Settings().withAttack(0.0f).withRelease(0.0f).withBits(bits).withCeiling(ceilingDb);
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
        {24, -0.1f, expectedClipLevel(-0.1f, 24)},
        {24, -10.0f, expectedClipLevel(-10.0f, 24)},
        {0, -0.1f, 0.98855309},        // no rounding without a word length
        {0, -10.0f, 0.31622777},
        {2, -0.1f, 0.98855309},        // 2 bits or fewer: no word length either
        {40, 0.0f, 1.0},               // a grid finer than a float's
    };
    for (const Case& c : cases)
    {
        SetUpLimiter limiter(clickSettings(c.bits, c.ceilingDb));
        render(limiter, makeBuffer(2, 64), 64);
        EXPECT_NEAR(limiter.getClipLevel(), c.clip, clipLevelTolerance(c.bits)) << c.bits << " bits, " << c.ceilingDb << " dB";
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
}

TEST(CLimiterLookaheadTest, SamplesAreRoundedAndClampedToFourTo507)
{
    const LookaheadCase cases[] = {
        {44100.0f, 0.0f, 4},      {44100.0f, -1.0f, 4},     {44100.0f, 0.00005f, 4}, // 2.2 samples
        {44100.0f, 0.001f, 44},   {44100.0f, 0.00136f, 60}, // 59.98 rounds up
        {44100.0f, 0.002f, 88},   {44100.0f, 0.003f, 132},  {22050.0f, 0.003f, 66},
        {96000.0f, 0.001f, 96},   {192000.0f, 0.0026f, 499}, {192000.0f, 0.003f, 507}, // 576 clamped
        {192000.0f, 1.0f, 507},   {44100.0f, 1e30f, 507},
    };
    for (const LookaheadCase& c : cases)
    {
        CLimiter limiter(2);
        limiter.setSampleRate(c.fs);
        limiter.setLookahead(c.seconds);
        render(limiter, makeBuffer(2, 64), 64);
        EXPECT_EQ(limiter.getLookaheadSamples(), c.samples) << "fs " << c.fs << ", " << c.seconds << " s";
    }

}

namespace
{
// Output sample from which a click changes the left channel: the two runs
// differ only in one input sample, start from the same generator states, and
// are compared bit for bit. Returns -1 if they never differ.
long firstAffectedSample(const Settings& s, float clickSize, int clickAt, int frames)
{
    Buffer in = noise(frames, 0.2f, 11);
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

TEST(CLimiterLookaheadTest, GainStartsFallingExactlyLookaheadSamplesBeforeAPeak)
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
    const LookaheadCase cases[] = {
        {44100.0f, 0.0f, 4}, {44100.0f, 0.001f, 44}, {22050.0f, 0.002f, 44}, {192000.0f, 0.003f, 507}};
    const int clickAt = 2000;
    for (const LookaheadCase& c : cases)
    {
        const Settings s = Settings().withRate(c.fs).withLookahead(c.seconds).withLink(0.0f);
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

// Level of +-0.1 through the input high-pass at 44.1 kHz.
const double quietLevel = 0.1 * nyquistGain(44100.0);
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

TEST(CLimiterDynamicsTest, GainRecoversWithTheReleaseLaw)
{
    // Left: +-4 for 1 s, then +-0.1; link 0. The sliding maximum lets go one
    // sample after the last loud sample has left; from there the envelope
    // falls as 1 + 3 exp(-t/release) and the smoothing trails it by 4c/(1-c).
    const float fs = 44100.0f;
    const float release = 0.1f;
    const int L = 88;
    const int loud = 44100;
    const int frames = loud + 10000 + latency;
    Buffer in = alternating(frames, 0.1f, 0.1f);
    fillAlternating(in[0], 0, loud, 4.0f);
    const Buffer out = limit(Settings().withAttack(0.0f).withRelease(release).withLink(0.0f), in);

    const int lastLoudOut = loud - 1 + latency;
    for (int m : {2205, 4410, 8820})
    {
        const double envelope = 1.0 + 3.0 * std::exp(-(m - smoothingDelay(L)) / (fs * release));
        EXPECT_NEAR(std::fabs(out[0][lastLoudOut + m]), quietLevel / envelope, 3e-3 * quietLevel / envelope)
            << m << " samples after";
        EXPECT_NEAR(std::fabs(out[1][lastLoudOut + m]), quietLevel, 2e-4 * quietLevel) << "right channel, unlinked";
    }
}

namespace
{
struct LinkCase
{
    float link;
    double rightGain;
};
}

TEST(CLimiterLinkTest, SettledGainsFollowBothHalvesOfTheLinkLaw)
{
    // Left alternates at +-4, right at +-0.1; attack 0, so each envelope is
    // its sliding maximum. The right channel's level:
    //   link <= 0.5: max(1, 2*link*4)        -> gains 1, 0.5, 0.25 at 0, 0.25, 0.5
    //   link >  0.5: max(1, 2*(link-0.5)*4, 4) = 4, whatever the link.
    const LinkCase cases[] = {{0.0f, 1.0}, {0.25f, 0.5}, {0.5f, 0.25}, {0.75f, 0.25}, {1.0f, 0.25}};
    const int frames = latency + 6000;
    const Buffer in = alternating(frames, 4.0f, 0.1f);
    for (const LinkCase& c : cases)
    {
        const Buffer out = limit(Settings().withAttack(0.0f).withRelease(1.0f).withLink(c.link), in);
        EXPECT_LT(worstRelativeDeviation(out[0], latency + 2000, frames, 1.0), 3e-4) << "link " << c.link;
        EXPECT_LT(worstRelativeDeviation(out[1], latency + 2000, frames, quietLevel * c.rightGain), 3e-4)
            << "link " << c.link;
    }
}

// ---------------------------------------------------------------------------
// Monitor, true peak and saturation
// ---------------------------------------------------------------------------

namespace
{
Buffer sine(double frequency, double amplitude, int frames)
{
    Buffer in = makeBuffer(2, frames);
    for (int n = 0; n < frames; ++n)
        in[0][n] = in[1][n] = static_cast<float>(amplitude * std::sin(2.0 * pi * frequency * n / 44100.0));
    return in;
}
}

TEST(CLimiterMonitorTest, MonitorIsTheLimitedOutputLevelMatched)
{
    // -10 dBFS with +20 dB is limited by about 10 dB. The gain is computed
    // from the same gained signal either way; monitoring only leaves the
    // input gain off the output, so it is the normal output divided by 10,
    // up to rounding. The two runs round differently (one signal is ten
    // times the other) and the 1 Hz high-pass keeps a state averaged over
    // some 7000 samples, so its rounding (up to 1.5e-7 a sample here) adds
    // up, like a random walk, to an offset of about sqrt(7000) x 1.5e-7 =
    // 1.3e-5 of full scale between the runs: 1e-4 of full scale is allowed.
    const int frames = latency + 22050;
    const Buffer in = sine(1000.0, std::pow(10.0, -0.5), frames);
    const Buffer limited = limit(Settings().withGain(20.0f), in);
    const Buffer monitored = limit(Settings().withGain(20.0f).withMonitor(true), in);
    for (int ch = 0; ch < 2; ++ch)
    {
        EXPECT_NEAR(peak(limited[ch], latency + 4410, frames), 1.0, 1e-3);
        EXPECT_NEAR(peak(monitored[ch], latency + 4410, frames), 0.1, 1e-4);
        for (int n = latency + 4410; n < frames; ++n)
            ASSERT_NEAR(10.0 * monitored[ch][n], limited[ch][n], 1e-4) << "channel " << ch << ", sample " << n;
    }
}

TEST(CLimiterTruePeakTest, SteadyPeaksAreLimitedOnTheLargestInterSampleEstimate)
{
    // 4 sin(pi n/2 + pi/4): samples +-2.83, true peak 4. On sample peaks the
    // samples are brought to the ceiling; on true peaks the half-way filter
    // reads 2a(0.58519703 + 0.08734027) for samples of a, so the samples
    // come out at 1/1.3450746 = 0.74345 of the ceiling. The high-pass turns
    // a quarter-rate tone by 7e-5 rad.
    // +-4 alternating: the half-way points are 0, but the centre correction
    // reads (1.028367 + 2 x 0.013404376) a = 1.055176 a, the largest of the
    // five estimates, so true-peak mode leaves every sample at 1/1.055176.
    const int frames = latency + 6000;
    Buffer quarterRate = makeBuffer(2, frames);
    for (int n = 0; n < frames; ++n)
        quarterRate[0][n] = quarterRate[1][n] = static_cast<float>(4.0 * std::sin(pi / 2.0 * n + pi / 4.0));
    struct Case
    {
        Buffer in;
        double truePeakLevel;
        bool everySample;
    };
    const Case cases[] = {{quarterRate, 1.0 / (2.0 * (0.58519703 + 0.08734027)), false},
        {alternating(frames, 4.0f, 4.0f), 1.0 / 1.055176, true}};
    for (const Case& c : cases)
        for (bool truePeak : {false, true})
        {
            const Buffer out = limit(Settings().withTruePeak(truePeak), c.in);
            const double expected = truePeak ? c.truePeakLevel : 1.0;
            for (int ch = 0; ch < 2; ++ch)
            {
                const double deviation = c.everySample
                    ? worstRelativeDeviation(out[ch], latency + 2000, frames, expected)
                    : std::fabs(peak(out[ch], latency + 2000, frames) - expected) / expected;
                EXPECT_LT(deviation, 3e-4) << "true peak " << truePeak << ", expected " << expected;
            }
        }
}

TEST(CLimiterSaturationTest, OnlyFramesThatWouldClipAreSaturatedAndMetered)
{
    // Below the clip level a frame is copied exactly as with saturation off
    // (quiet material, same bits). Above it the meter reads 1 - (residual
    // level / frame level), floored at 0.5, and holds the lowest frame; more
    // saturation mixes in more residual, so the reading can only go down.
    Buffer quiet = loudMix(44100.0f, 30000, 5);
    const float scale = 0.9f / std::max(peak(quiet[0], 0, 30000), peak(quiet[1], 0, 30000));
    for (auto& channel : quiet)
        for (float& x : channel)
            x *= scale;
    const Buffer loud = loudMix(44100.0f, 40000, 9);
    const float amounts[3] = {0.0f, 0.3f, 1.0f};
    Buffer quietOut[3];
    Buffer loudOut[3];
    float quietReading[3][2];
    float loudReading[3][2];
    for (int i = 0; i < 3; ++i)
    {
        restartGenerators();
        SetUpLimiter quietLimiter(Settings().withSaturation(amounts[i]));
        quietOut[i] = render(quietLimiter, quiet, 512);
        SetUpLimiter loudLimiter(Settings().withGain(6.0f).withSaturation(amounts[i]));
        loudOut[i] = render(loudLimiter, loud, 512);
        for (int ch = 0; ch < 2; ++ch)
        {
            quietReading[i][ch] = quietLimiter.getSaturationGain(ch);
            loudReading[i][ch] = loudLimiter.getSaturationGain(ch);
        }
    }
    for (int ch = 0; ch < 2; ++ch)
    {
        EXPECT_EQ(std::memcmp(quietOut[0][ch].data(), quietOut[2][ch].data(), quietOut[0][ch].size() * sizeof(float)), 0);
        EXPECT_EQ(quietReading[2][ch], 1.0f);
        EXPECT_EQ(loudReading[0][ch], 1.0f);
        EXPECT_LT(loudReading[1][ch], 1.0f);
        EXPECT_LE(loudReading[2][ch], loudReading[1][ch]);
        EXPECT_GE(loudReading[2][ch], 0.5f);
        // The saturated signal is audibly different, not a rounding away.
        double difference = 0.0;
        for (size_t n = 0; n < loudOut[0][ch].size(); ++n)
            difference = std::max(difference, std::fabs(static_cast<double>(loudOut[2][ch][n]) - loudOut[0][ch][n]));
        EXPECT_GT(difference, 1e-3) << "channel " << ch;
    }
}

// ---------------------------------------------------------------------------
// Clearing, invariance and bad input
// ---------------------------------------------------------------------------

TEST(CLimiterClearTest, FlushesDelaysEnvelopesAndMeters)
{
    SetUpLimiter limiter(
        Settings().withGain(12.0f).withAttack(0.0f).withRelease(1.0f).withTruePeak(true).withSaturation(0.5f));
    render(limiter, loudMix(44100.0f, 20000, 3), 512);
    ASSERT_LT(limiter.getGainReduction(0), 0.5f);
    ASSERT_GT(limiter.getOutputPeak(0), 0.5f);

    limiter.clear();
    // Rest values: level meters at their floor of 1e-8 (doubled on the AES17
    // scale), gain meters at 1.
    for (int ch = 0; ch < 2; ++ch)
    {
        EXPECT_EQ(limiter.getOutputPeak(ch), 1e-8f) << "channel " << ch;
        EXPECT_EQ(limiter.getRmsLevel(ch), 2.0f * 1e-8f) << "channel " << ch;
        EXPECT_EQ(limiter.getGainReduction(ch), 1.0f) << "channel " << ch;
        EXPECT_EQ(limiter.getSaturationGain(ch), 1.0f) << "channel " << ch;
    }

    // Silence, then a +-0.1 probe at 0 dB: nothing of the loud audio may come
    // out of the frames or the delay line, and an envelope left over from it
    // (1 s release) would still pull the probe down.
    limiter.setInputGain(0.0f);
    const int silence = 3000;
    const int frames = silence + latency + 3000;
    Buffer in = alternating(frames, 0.1f, 0.1f);
    std::fill_n(in[0].begin(), silence, 0.0f);
    std::fill_n(in[1].begin(), silence, 0.0f);
    const Buffer out = render(limiter, in, 512);
    for (int ch = 0; ch < 2; ++ch)
    {
        for (int n = 0; n < silence + latency; ++n)
            ASSERT_LE(std::fabs(out[ch][n]), noiseBound) << "channel " << ch << ", sample " << n;
        EXPECT_LT(worstRelativeDeviation(out[ch], silence + latency + 10, frames, quietLevel), 2e-4) << "channel " << ch;
        EXPECT_EQ(limiter.getGainReduction(ch), 1.0f) << "channel " << ch;
    }
}

// ---------------------------------------------------------------------------
// Meters
// ---------------------------------------------------------------------------

TEST(CLimiterMetersTest, ChannelsOutsideTheLimiterReadNeutral)
{
    SetUpLimiter mono(Settings().withGain(12.0f).withSaturation(1.0f), 1);
    render(mono, Buffer{loudMix(44100.0f, 20000, 4)[0]}, 512);
    EXPECT_GT(mono.getOutputPeak(0), 0.5f);
    for (int ch : {-1, 1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
    {
        EXPECT_EQ(mono.getRmsLevel(ch), 0.0f) << ch;
        EXPECT_EQ(mono.getOutputPeak(ch), 0.0f) << ch;
        EXPECT_EQ(mono.getGainReduction(ch), 1.0f) << ch;
        EXPECT_EQ(mono.getSaturationGain(ch), 1.0f) << ch;
    }
}

TEST(CLimiterMetersTest, OutputPeakIsTheLargestSampleThatLeft)
{
    // The meter holds its largest value until it is read, so unread it is
    // the largest |output| seen: exactly, since both are the same floats.
    for (int bits : {0, 16})
    {
        SetUpLimiter limiter(Settings().withGain(12.0f).withCeiling(-0.1f).withSaturation(0.5f).withBits(bits));
        const Buffer out = render(limiter, loudMix(44100.0f, 30000, 6), 512);
        for (int ch = 0; ch < 2; ++ch)
            EXPECT_EQ(limiter.getOutputPeak(ch), peak(out[ch], 0, 30000)) << bits << " bits, channel " << ch;
    }
}

TEST(CLimiterMetersTest, GainReductionHoldsTheDeepestGainUntilRead)
{
    // Left +-2 against a ceiling of 1: gain 0.5. Right +-0.1, unlinked: gain
    // exactly 1. Release 0 lets the gain return to 1 once the loud part is
    // over, up to the float steps that each smoothing section can stay above
    // a level it settles on (s + (v - s)(1-c) stops moving once the step is
    // under half a float step: 4 steps per section at c = 0.89, 16 x 1.2e-7
    // for the four). The meter keeps 0.5 until read, then climbs by e every
    // 0.5 s up to the gain.
    const Buffer quiet = alternating(44100, 0.1f, 0.1f);
    SetUpLimiter limiter(Settings().withRelease(0.0f).withLink(0.0f));
    render(limiter, alternating(latency + 10000, 2.0f, 0.1f), 512);
    render(limiter, quiet, 512);
    EXPECT_NEAR(limiter.getGainReduction(0), 0.5, 5e-4);
    EXPECT_EQ(limiter.getGainReduction(1), 1.0f);
}

TEST(CLimiterMetersTest, RmsMeterReadsTheMeanSquareDoubledOnTheAes17Scale)
{
    // A sine of amplitude 0.5 has a mean square of 0.125; the 2.44 Hz
    // smoother leaves a ripple of 2.44/(2 x 997) = 0.12 % on it, which the
    // held peak of the meter keeps. The AES17 reading is twice that, so that
    // a full-scale sine would read 1 (0 dB).
    const Buffer in = sine(997.0, 0.5, latency + 66150);
    float reading[2][2];
    for (bool aes17 : {false, true})
    {
        SetUpLimiter limiter(Settings().withAes17(aes17));
        render(limiter, in, 512);
        for (int ch = 0; ch < 2; ++ch)
            reading[aes17][ch] = limiter.getRmsLevel(ch);
    }
    for (int ch = 0; ch < 2; ++ch)
    {
        EXPECT_NEAR(reading[0][ch], 0.125, 0.125 * 3e-3) << "channel " << ch;
        EXPECT_NEAR(reading[1][ch], 0.25, 0.25 * 3e-3) << "channel " << ch;
        EXPECT_NEAR(reading[1][ch] / reading[0][ch], 2.0, 1e-5) << "channel " << ch;
    }
}

// ---------------------------------------------------------------------------
// Real-time behaviour and threads
// ---------------------------------------------------------------------------

TEST(CLimiterRealtimeTest, ProcessNeverAllocates)
{
    // Everything is built at construction; the per-frame saturation, the
    // masking model and settings applied at the start of a block must reuse
    // it.
    SetUpLimiter limiter(
        Settings().withGain(12.0f).withTruePeak(true).withSaturation(1.0f).withBits(16).withShaping(1.0f));
    const Buffer in = loudMix(44100.0f, 65536, 8);
    Buffer out = makeBuffer(2, 65536);
    auto block = [&](int pos, int count) {
        const float* inputs[2] = {in[0].data() + pos, in[1].data() + pos};
        float* outputs[2] = {out[0].data() + pos, out[1].data() + pos};
        const long before = allocationCount.load();
        limiter.process(inputs, outputs, count);
        return allocationCount.load() - before;
    };
    block(0, 4096);

    long during = 0;
    int changes = 0;
    for (int pos = 4096; pos + 700 <= 65536; pos += 700, ++changes)
    {
        switch (changes % 8)
        {
        case 0: limiter.setCeiling(changes % 16 ? -3.0f : -0.1f); break;
        case 1: limiter.setNumBits(static_cast<int8_t>(8 * (changes / 8 % 4))); break;
        case 2: limiter.setShaping(0.1f * (changes % 10)); break;
        case 3: limiter.setLookahead(0.0005f * (changes % 7)); break;
        case 4: limiter.setTruePeak(changes % 3 == 0); break;
        case 5: limiter.setAttack(0.01f * (changes % 5)); limiter.setRelease(0.1f * (changes % 4)); break;
        case 6: limiter.setSaturation(0.25f * (changes % 5)); limiter.setLink(0.2f * (changes % 6)); break;
        default: limiter.setMonitor(changes % 3 == 0); limiter.setInputGain(static_cast<float>(changes % 20)); break;
        }
        during += block(pos, 700);
        limiter.getRmsLevel(0);
        limiter.getOutputPeak(1);
        limiter.getGainReduction(0);
        limiter.getSaturationGain(1);
    }
    EXPECT_EQ(during, 0) << "allocations inside process()";
}

TEST(CLimiterRealtimeTest, RestoresTheCallersFloatingPointControlWord)
{
    // Flush-to-zero and denormals-are-zero hold only inside process(): the
    // caller's rounding mode, exception masks and flush bits come back as
    // they were. The six low bits are sticky exception flags that any
    // arithmetic may raise.
    const unsigned int flags = 0x3F;
    const unsigned int saved = _mm_getcsr();
    const unsigned int states[] = {
        0x1F80,                  // the default: round to nearest, no flushing
        0x1F80 | 0x8040,         // flushing already on
        0x1F80 | 0x2000,         // round down
        0x1F80 | 0x6000 | 0x40,  // round toward zero, denormals-are-zero only
    };
    SetUpLimiter limiter(Settings().withSaturation(0.5f).withGain(12.0f));
    const Buffer in = loudMix(44100.0f, 2048, 12);
    Buffer out = makeBuffer(2, 2048);
    const float* inputs[2] = {in[0].data(), in[1].data()};
    float* outputs[2] = {out[0].data(), out[1].data()};
    for (unsigned int state : states)
    {
        _mm_setcsr(state);
        limiter.process(inputs, outputs, 2048);
        const unsigned int after = _mm_getcsr();
        _mm_setcsr(saved);
        EXPECT_EQ(after & ~flags, state & ~flags) << std::hex << "before 0x" << state << ", after 0x" << after;
    }
}

TEST(CLimiterThreadsTest, SettingsChangeWhileAudioRuns)
{
    // A user-interface thread turns every knob at random and reads the
    // meters while the audio thread processes. Whatever it catches, the
    // audio stays finite and within the highest clip level in use (ceilings
    // up to 0 dB: 1.0). Meant to run under ThreadSanitizer as well.
    CLimiter limiter(2);
    const Buffer in = loudMix(44100.0f, 65536, 31);
    Buffer out = makeBuffer(2, 256);
    std::atomic<bool> audioDone{false};
    std::atomic<bool> started{false};
    std::atomic<long> changes{0};

    std::thread ui([&] {
        std::mt19937 random(1234);
        std::uniform_real_distribution<float> unit(0.0f, 1.0f);
        started = true;
        while (!audioDone.load())
        {
            switch (random() % 16)
            {
            case 0: limiter.setInputGain(20.0f * unit(random)); break;
            case 1: limiter.setAttack(unit(random)); break;
            case 2: limiter.setRelease(unit(random)); break;
            case 3: limiter.setLookahead(0.003f * unit(random)); break;
            case 4: limiter.setTruePeak(random() % 2 == 0); break;
            case 5: limiter.setMonitor(random() % 2 == 0); break;
            case 6: limiter.setCeiling(-10.0f * unit(random)); break;
            case 7: limiter.setLink(unit(random)); break;
            case 8: limiter.setAES17(random() % 2 == 0); break;
            case 9: limiter.setSaturation(unit(random)); break;
            case 10: limiter.setNumBits(static_cast<int8_t>(8 * (random() % 4))); break;
            case 11: limiter.setShaping(unit(random)); break;
            default:
                limiter.getRmsLevel(static_cast<int>(random() % 3));
                limiter.getOutputPeak(static_cast<int>(random() % 3));
                limiter.getGainReduction(static_cast<int>(random() % 3));
                limiter.getSaturationGain(static_cast<int>(random() % 3));
                limiter.getClipLevel();
                limiter.getLookaheadSamples();
                break;
            }
            changes.fetch_add(1);
            std::this_thread::yield();
        }
    });
    while (!started.load())
        std::this_thread::yield();

    float* outputs[2] = {out[0].data(), out[1].data()};
    long blocks = 0;
    std::string failure;
    // Runs until the settings thread has made its changes, however the
    // scheduler shares the cores; the cap only guards against a dead thread.
    for (int pos = 0; failure.empty() && (blocks < 400 || changes.load() < 2000) && blocks < 2000000; ++blocks)
    {
        pos = (pos + 256) % (65536 - 256);
        const float* inputs[2] = {in[0].data() + pos, in[1].data() + pos};
        limiter.process(inputs, outputs, 256);
        std::this_thread::yield();
        for (int ch = 0; ch < 2 && failure.empty(); ++ch)
            for (int n = 0; n < 256 && failure.empty(); ++n)
                if (!std::isfinite(out[ch][n]) || std::fabs(out[ch][n]) > 1.0f)
                    failure = "block " + std::to_string(blocks) + ", channel " + std::to_string(ch) + ", sample "
                        + std::to_string(n) + ": " + std::to_string(out[ch][n]);
    }
    audioDone = true;
    ui.join();
    EXPECT_TRUE(failure.empty()) << failure;
    EXPECT_GE(changes.load(), 2000);
}
