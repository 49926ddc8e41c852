// The module's delay lines through the binary interface: what flushes them
// and what does not.
#include "VstModule.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

namespace
{
constexpr int blockSize = 512;

using HostCalls = void (*)(VstModule&);

void noCalls(VstModule&)
{
}

// Peak of both channels over frames of the same signal, in host-sized blocks.
float renderPeak(VstModule& plugin, std::vector<float> signal)
{
    std::vector<float> left(signal.size()), right(signal.size());
    float loudest = 0.0f;
    for (std::size_t start = 0; start < signal.size(); start += blockSize)
    {
        const int frames = static_cast<int>(std::min<std::size_t>(blockSize, signal.size() - start));
        float* inputs[2] = {signal.data() + start, signal.data() + start};
        float* outputs[2] = {left.data() + start, right.data() + start};
        plugin.processReplacing(inputs, outputs, frames);
        for (int n = 0; n < frames; ++n)
        {
            loudest = std::max({loudest, std::fabs(outputs[0][n]), std::fabs(outputs[1][n])});
        }
    }
    return loudest;
}

// After a loud block, how much of it still comes out of a silent one, in
// a fresh instance given the calls before and between the two blocks.
float tailAfter(HostCalls beforeBlocks, HostCalls betweenBlocks)
{
    VstModule plugin(PALISORNE_MODULE_PATH);
    plugin.open();
    plugin.setBlockSize(blockSize);
    plugin.resume();
    beforeBlocks(plugin);
    std::vector<float> sine(4096);
    for (std::size_t i = 0; i < sine.size(); ++i)
    {
        sine[i] = 0.9f * std::sin(2.0f * 3.14159265f * 1000.0f * static_cast<float>(i) / 44100.0f);
    }
    renderPeak(plugin, sine);
    betweenBlocks(plugin);
    return renderPeak(plugin, std::vector<float>(2048, 0.0f));
}

// What is left of a block when the limiter's delay lines hold nothing but
// the +-1e-8 anti-denormal noise it adds to silence.
constexpr float flushedLevel = 1e-6f;
// A 0.9 sine limited at -0.1 dB still leaves more than this in the tail.
constexpr float tailLevel = 0.5f;
}

// A loud block leaves its tail in the delay lines; suspend, resume and a
// new rate flush it, a rate that is no change does not.
TEST(PluginAudio, SuspendResumeAndANewRateFlushTheAudio)
{
    EXPECT_GT(tailAfter(noCalls, noCalls), tailLevel);
    EXPECT_LT(tailAfter(noCalls, [](VstModule& p) { p.suspend(); }), flushedLevel);
    EXPECT_LT(tailAfter(noCalls, [](VstModule& p) { p.resume(); }), flushedLevel);
    const HostCalls at44100 = [](VstModule& p) { p.setSampleRate(44100.0f); };
    EXPECT_GT(tailAfter(at44100, at44100), tailLevel);
    EXPECT_LT(tailAfter(noCalls, [](VstModule& p) { p.setSampleRate(48000.0f); }), flushedLevel);
    // 8000 and 11025 Hz both become 22050 Hz: the second is no change.
    EXPECT_GT(tailAfter([](VstModule& p) { p.setSampleRate(8000.0f); }, [](VstModule& p) { p.setSampleRate(11025.0f); }),
              tailLevel);
}
