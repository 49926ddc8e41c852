// The module's audio path through the binary interface: latency, flushing on
// suspend/resume and rate changes, settings kept across them.
#include "VstModule.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

namespace
{
constexpr int latency = 1535;
constexpr int blockSize = 512;
constexpr float pi = 3.14159265358979f;

struct Stereo
{
    std::vector<float> left;
    std::vector<float> right;
};

// Runs the same signal through both channels in host-sized blocks.
Stereo render(VstModule& plugin, const std::vector<float>& input)
{
    Stereo in{input, input};
    Stereo written{std::vector<float>(input.size()), std::vector<float>(input.size())};
    for (std::size_t start = 0; start < input.size(); start += blockSize)
    {
        const int frames = static_cast<int>(std::min<std::size_t>(blockSize, input.size() - start));
        float* inputs[2] = {in.left.data() + start, in.right.data() + start};
        float* outputs[2] = {written.left.data() + start, written.right.data() + start};
        plugin.processReplacing(inputs, outputs, frames);
    }
    return written;
}

float peak(const std::vector<float>& samples, std::size_t from, std::size_t to)
{
    float maximum = 0.0f;
    for (std::size_t i = from; i < to; ++i)
    {
        maximum = std::max(maximum, std::fabs(samples[i]));
    }
    return maximum;
}

std::vector<float> loudSine(int frames)
{
    std::vector<float> signal(static_cast<std::size_t>(frames));
    for (int i = 0; i < frames; ++i)
    {
        signal[static_cast<std::size_t>(i)] = 0.9f * std::sin(2.0f * pi * 1000.0f * static_cast<float>(i) / 44100.0f);
    }
    return signal;
}

using HostCalls = void (*)(VstModule&);

void noCalls(VstModule&)
{
}

// Opens and resumes as hosts do, with the given calls just before resuming.
void start(VstModule& plugin, HostCalls beforeResume = noCalls)
{
    plugin.open();
    plugin.setBlockSize(blockSize);
    beforeResume(plugin);
    plugin.resume();
}

// After a loud block, how much of it still comes out of a silent one, in
// a fresh instance given the calls before and between the two blocks.
float tailAfter(HostCalls beforeBlocks, HostCalls betweenBlocks)
{
    VstModule plugin(PALISORNE_MODULE_PATH);
    start(plugin);
    beforeBlocks(plugin);
    render(plugin, loudSine(4096));
    betweenBlocks(plugin);
    const Stereo tail = render(plugin, std::vector<float>(2048, 0.0f));
    return std::max(peak(tail.left, 0, 2048), peak(tail.right, 0, 2048));
}

// What is left of a block when the limiter's delay lines hold nothing but
// the +-1e-8 anti-denormal noise it adds to silence.
constexpr float flushedLevel = 1e-6f;
// A 0.9 sine limited at -0.1 dB still leaves more than this in the tail.
constexpr float tailLevel = 0.5f;
}

TEST(PluginAudio, ImpulseComesOutAfterTheReportedLatency)
{
    VstModule plugin(PALISORNE_MODULE_PATH);
    start(plugin);
    ASSERT_EQ(plugin.initialDelay(), latency);
    std::vector<float> impulse(8192, 0.0f);
    const std::size_t at = 3000;
    impulse[at] = 0.5f;
    const Stereo out = render(plugin, impulse);
    for (const std::vector<float>* channel : {&out.left, &out.right})
    {
        const auto loudest = std::max_element(channel->begin(), channel->end(),
                                              [](float a, float b) { return std::fabs(a) < std::fabs(b); });
        EXPECT_EQ(static_cast<std::size_t>(loudest - channel->begin()), at + latency);
        // Below the ceiling nothing is limited; the 1 Hz high-pass scales a
        // single sample by its pole, 0.99986 at 44.1 kHz.
        EXPECT_NEAR(*loudest, 0.5f, 1e-3f);
        EXPECT_LT(peak(*channel, 0, at + latency), 1e-6f);
    }
    // The announced latency stays whatever the look-ahead.
    plugin.setParameter(3, 1.0f);
    EXPECT_EQ(plugin.initialDelay(), latency);
}

TEST(PluginAudio, SuspendAndResumeFlushTheAudio)
{
    EXPECT_GT(tailAfter(noCalls, noCalls), tailLevel);
    EXPECT_LT(tailAfter(noCalls, [](VstModule& p) { p.suspend(); }), flushedLevel);
    EXPECT_LT(tailAfter(noCalls, [](VstModule& p) { p.resume(); }), flushedLevel);
}

TEST(PluginAudio, SettingsSurviveSuspendAndResume)
{
    VstModule plugin(PALISORNE_MODULE_PATH);
    start(plugin);
    plugin.setParameter(5, 0.5f);
    plugin.suspend();
    plugin.resume();
    EXPECT_EQ(plugin.getParameter(5), 0.5f);
    // The ceiling at -5 dB still holds the output.
    const Stereo out = render(plugin, loudSine(8192));
    EXPECT_LE(peak(out.left, 0, 8192), std::pow(10.0f, -5.0f / 20.0f) * (1.0f + 1e-6f));
    EXPECT_GT(peak(out.left, 0, 8192), 0.5f);
}

TEST(PluginAudio, OnlyANewRateFlushes)
{
    const HostCalls at44100 = [](VstModule& p) { p.setSampleRate(44100.0f); };
    EXPECT_GT(tailAfter(at44100, at44100), tailLevel);
    EXPECT_LT(tailAfter(noCalls, [](VstModule& p) { p.setSampleRate(48000.0f); }), flushedLevel);
    // 8000 and 11025 Hz both become 22050 Hz: the second is no change.
    EXPECT_GT(tailAfter([](VstModule& p) { p.setSampleRate(8000.0f); }, [](VstModule& p) { p.setSampleRate(11025.0f); }),
              tailLevel);
}
