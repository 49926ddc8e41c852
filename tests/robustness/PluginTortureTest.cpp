// The module under the abuse a long session brings: garbage samples, extreme
// but legal signals, block sizes and sample rates that change under it,
// suspend and resume at any time, a program change on every block. Every
// output sample must be finite and within the clip level of its block.
#include "AuditedPlugin.h"
#include "ClipLevelBound.h"
#include "LoudMaterial.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace
{
constexpr int latency = 1535;
constexpr int factoryPrograms = 17;
constexpr int programs = 64;
constexpr float pi = 3.14159265358979f;

float sine(int n)
{
    return 0.5f * std::sin(2.0f * pi * 1000.0f * static_cast<float>(n) / 44100.0f);
}

// The whole output of a run, one vector per channel.
struct Recording
{
    std::vector<float> left;
    std::vector<float> right;

    void append(const AuditedPlugin& plugin, int frames)
    {
        left.insert(left.end(), plugin.outputLeft(), plugin.outputLeft() + frames);
        right.insert(right.end(), plugin.outputRight(), plugin.outputRight() + frames);
    }
};

}

// Non-finite samples and samples beyond +-1000 enter as silence: a 0.5 sine
// (below program 0's ceiling, so neither saturated nor limited) comes out
// exactly as it went in, 1535 samples later, except that each garbage
// sample is a zero, a block of garbage is a block of silence, and the sine
// is whole again afterwards. The 1 Hz input high-pass differs from a plain
// delay by at most (1 - pole) times the running sum of the signal,
// 1.4e-4 x 3.5 = 5e-4 for this sine, hence the 1e-3 tolerance.
TEST(PluginTorture, GarbageInputComesOutAsSilenceAndLeavesNoTrace)
{
    const float denormal = 1e-40f;
    const float garbage[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                             -std::numeric_limits<float>::infinity(), 1e30f, -1e30f, FLT_MAX, 1000.5f, denormal};
    const int sineBefore = 8192;
    const int garbageBlock = 8192;
    const int sprinkled = 16384;
    const int sineAfter = 8192;
    const int total = sineBefore + garbageBlock + sprinkled + sineAfter;
    const int every = 97;

    for (const float bad : garbage)
    {
        SCOPED_TRACE("garbage " + std::to_string(bad));
        std::vector<float> input(static_cast<size_t>(total));
        std::vector<bool> isGarbage(static_cast<size_t>(total), false);
        for (int n = 0; n < total; ++n)
        {
            const bool inBlock = n >= sineBefore && n < sineBefore + garbageBlock;
            const bool inSprinkled = n >= sineBefore + garbageBlock && n < sineBefore + garbageBlock + sprinkled;
            isGarbage[n] = inBlock || (inSprinkled && n % every == 0);
            input[n] = isGarbage[n] ? bad : sine(n);
        }

        AuditedPlugin plugin(PALISORNE_MODULE_PATH);
        Recording out;
        for (int start = 0; start < total; start += 1024)
        {
            plugin.process(input.data() + start, input.data() + start, 1024);
            out.append(plugin, 1024);
        }
        ASSERT_TRUE(plugin.audit().clean()) << plugin.audit().summary();

        float worst = 0.0f;
        int worstAt = 0;
        for (int n = 0; n + latency < total; ++n)
        {
            const float expected = isGarbage[n] ? 0.0f : input[n];
            for (const std::vector<float>* channel : {&out.left, &out.right})
            {
                const float error = std::fabs((*channel)[n + latency] - expected);
                if (error > worst)
                {
                    worst = error;
                    worstAt = n;
                }
            }
        }
        EXPECT_LT(worst, 1e-3f) << "input sample " << worstAt;
    }
}

// Full-scale DC of both signs, a full-scale Nyquist square and one at the
// largest level still taken as real (+-1000, +60 dBFS) through every factory
// program: all limited to the ceiling, and the squares are passed at the
// ceiling rather than muted (their peak reaches at least half of it).
TEST(PluginTorture, FullScaleDcAndNyquistSquaresStayUnderEveryProgramsCeiling)
{
    const int second = 44100;
    std::vector<float> high(second, 1.0f);
    std::vector<float> low(second, -1.0f);
    std::vector<float> nyquist(second);
    std::vector<float> extreme(second);
    for (int n = 0; n < second; ++n)
    {
        nyquist[n] = n % 2 ? -1.0f : 1.0f;
        extreme[n] = n % 2 ? -1000.0f : 1000.0f;
    }

    for (int program = 0; program < factoryPrograms; ++program)
    {
        SCOPED_TRACE("program " + std::to_string(program));
        AuditedPlugin plugin(PALISORNE_MODULE_PATH);
        plugin.module().setProgram(program);
        for (const std::vector<float>* signal : {&high, &low, &nyquist, &extreme})
        {
            float peak = 0.0f;
            for (int start = 0; start < second; start += 441)
            {
                plugin.process(signal->data() + start, signal->data() + start, 441);
                for (int i = 0; i < 441; ++i)
                {
                    peak = std::max(peak, std::fabs(plugin.outputLeft()[i]));
                }
            }
            if (signal == &nyquist || signal == &extreme)
            {
                EXPECT_GT(peak, 0.5 * plugin.clipLevel());
            }
        }
        EXPECT_TRUE(plugin.audit().clean()) << plugin.audit().summary();
    }
}

// Processing is sample by sample behind the host's blocks, so cutting the
// same input into blocks of 0 to 8192 frames, a new size every call, gives
// the same output as steady blocks of 512. The only difference allowed is
// the limiter's anti-denormal noise (+-1e-8 on near-silent samples, drawn
// from one generator shared by every instance in the process, so the two
// instances get different draws): the high-pass passes it with a gain of at
// most 2, and the gain computer only scales it, hence 1e-6.
TEST(PluginTorture, BlockSizeChangingEveryCallGivesTheSameOutput)
{
    const int total = 6 * 44100;
    LoudMaterial material(44100.0, 7);
    std::vector<float> left(total), right(total);
    material.render(left.data(), right.data(), total, 2.0f);

    AuditedPlugin steady(PALISORNE_MODULE_PATH);
    Recording reference;
    for (int start = 0; start < total; start += 512)
    {
        const int frames = std::min(512, total - start);
        steady.process(left.data() + start, right.data() + start, frames);
        reference.append(steady, frames);
    }

    AuditedPlugin varying(PALISORNE_MODULE_PATH);
    Recording result;
    std::mt19937 random(11);
    int sizes = 0;
    for (int start = 0; start < total;)
    {
        int frames = 0;
        switch (random() % 4)
        {
        case 0: frames = 0; break;
        case 1: frames = 1 + static_cast<int>(random() % 3); break;
        case 2: frames = static_cast<int>(random() % 8193); break;
        default: frames = static_cast<int>(random() % 600); break;
        }
        frames = std::min(frames, total - start);
        const bool inPlace = random() % 2 == 0;
        varying.process(left.data() + start, right.data() + start, frames, inPlace);
        result.append(varying, frames);
        start += frames;
        ++sizes;
    }
    EXPECT_GT(sizes, 200);
    ASSERT_EQ(result.left.size(), reference.left.size());
    float worst = 0.0f;
    for (std::size_t n = 0; n < reference.left.size(); ++n)
    {
        worst = std::max(worst, std::fabs(result.left[n] - reference.left[n]));
        worst = std::max(worst, std::fabs(result.right[n] - reference.right[n]));
    }
    EXPECT_LT(worst, 1e-6f);
    EXPECT_TRUE(steady.audit().clean()) << steady.audit().summary();
    EXPECT_TRUE(varying.audit().clean()) << varying.audit().summary();
    // Loud material at +6 dB keeps the limiter at its ceiling.
    EXPECT_GT(varying.audit().highestRatio(), 0.95);
}

// The host changes the rate between blocks without suspending first, to
// every rate hosts use and to some they should not (clamped by the plug-in).
TEST(PluginTorture, SampleRateChangesWhileProcessingKeepTheCeiling)
{
    const float rates[] = {44100.0f, 48000.0f, 96000.0f, 192000.0f, 22050.0f, 88200.0f, 8000.0f, 384000.0f,
                           0.0f, -44100.0f, std::numeric_limits<float>::quiet_NaN(), 1e30f};
    AuditedPlugin plugin(PALISORNE_MODULE_PATH);
    plugin.module().setProgram(3);
    LoudMaterial material(48000.0, 3, 0.25);
    std::mt19937 random(5);
    for (int block = 0; block < 900; ++block)
    {
        if (block % 3 == 0)
        {
            plugin.module().setSampleRate(rates[random() % (sizeof rates / sizeof rates[0])]);
        }
        plugin.process(material, 1 + static_cast<int>(random() % 2048), 4.0f);
    }
    EXPECT_TRUE(plugin.audit().clean()) << plugin.audit().summary();
    EXPECT_GT(plugin.audit().highestRatio(), 0.95);
}

// Suspend and resume at any point of the stream, also a suspend the host
// never follows with a resume before the next block, and the VST 2.4
// start/stop notifications.
TEST(PluginTorture, SuspendAndResumeMidStreamKeepTheCeiling)
{
    AuditedPlugin plugin(PALISORNE_MODULE_PATH);
    plugin.module().setProgram(7);
    LoudMaterial material(44100.0, 4, 0.5);
    std::mt19937 random(6);
    for (int block = 0; block < 1200; ++block)
    {
        switch (random() % 8)
        {
        case 0: plugin.module().suspend(); plugin.module().resume(); break;
        case 1: plugin.module().suspend(); break;
        case 2: plugin.module().resume(); break;
        case 3: plugin.module().dispatch(effStopProcess); plugin.module().dispatch(effStartProcess); break;
        default: break;
        }
        plugin.process(material, static_cast<int>(random() % 1500), 4.0f);
    }
    EXPECT_TRUE(plugin.audit().clean()) << plugin.audit().summary();
    EXPECT_GT(plugin.audit().highestRatio(), 0.95);
}

// A new program (factory or not) on every block: each block's output stays
// within the clip level of the program it was processed under.
TEST(PluginTorture, ProgramChangeEveryBlockHoldsEachProgramsCeiling)
{
    AuditedPlugin plugin(PALISORNE_MODULE_PATH);
    LoudMaterial material(44100.0, 8, 0.5);
    std::mt19937 random(8);
    int ceilingsSeen = 0;
    double lastBound = 0.0;
    for (int block = 0; block < 2000; ++block)
    {
        plugin.module().setProgram(static_cast<int>(random() % programs));
        if (plugin.clipLevel() != lastBound)
        {
            lastBound = plugin.clipLevel();
            ++ceilingsSeen;
        }
        plugin.process(material, 1 + static_cast<int>(random() % 2048), 4.0f);
    }
    EXPECT_GT(ceilingsSeen, 100);
    EXPECT_TRUE(plugin.audit().clean()) << plugin.audit().summary();
    EXPECT_GT(plugin.audit().highestRatio(), 0.95);
}
