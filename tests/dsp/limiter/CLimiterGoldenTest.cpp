#include "Fnv1a.h"
#include "limiter/CLimiter.h"
#include "limiter/LimiterTestSupport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

using namespace limiter_test;

// Golden renders lock the limiter's exact output, bit for bit, once its
// behaviour has been verified by the other tests: a fixed stereo signal goes
// through a handful of settings that together run every stage, and the
// FNV-1a 64 checksum of the output's float bit patterns is compared with the
// one recorded here. Every render starts from the generator states a process
// starts with. The checksums hold for this platform's compiler and maths
// library.
namespace
{
struct GoldenRender
{
    const char* name;
    Settings settings;
    uint64_t checksum;
    int channels = 2;
};

std::vector<GoldenRender> goldenRenders()
{
    return {
        // Sample peaks, no word length, moderate saturation (the plug-in's
        // first factory program, driven 6 dB harder).
        {"SamplePeakSaturated",
            Settings().withGain(6.0f).withAttack(0.04f).withRelease(0.5f).withLookahead(0.001f).withCeiling(-0.1f)
                .withLink(0.35f).withSaturation(0.3f),
            0x7159f3434dfa3874ull},
        {"TruePeakLinked8Bit",
            Settings().withGain(9.0f).withAttack(0.02f).withRelease(0.3f).withTruePeak(true).withCeiling(-1.0f)
                .withLink(1.0f).withBits(8),
            0x255e6f30632e7e2dull},
        {"MonitorUnlinked8BitShaped",
            Settings().withGain(12.0f).withLookahead(0.0015f).withLink(0.0f).withMonitor(true).withSaturation(0.8f)
                .withBits(8).withShaping(1.0f),
            0xa1e962e58b0a5e36ull},
        {"TruePeak16Bit",
            Settings().withGain(6.0f).withTruePeak(true).withCeiling(-0.1f).withLink(0.5f).withSaturation(0.5f)
                .withBits(16),
            0x92208b4e3ec39a63ull},
        {"InstantUpperLink16BitShaped",
            Settings().withGain(10.0f).withAttack(0.0f).withRelease(0.15f).withLookahead(0.0f).withLink(0.75f)
                .withSaturation(1.0f).withBits(16).withShaping(1.0f),
            0x3e17652c858033b7ull},
        {"SlowMonitorLinked24BitShaped",
            Settings().withGain(8.0f).withAttack(1.0f).withRelease(1.0f).withLookahead(0.003f).withCeiling(-3.0f)
                .withLink(1.0f).withMonitor(true).withSaturation(0.9f).withBits(24).withShaping(0.5f),
            0x47453a9476833dc6ull},
        // Other channel counts: one channel, and channels that the limiter
        // works on in more than one group, coupled by the link.
        {"MonoTruePeak16BitShaped",
            Settings().withGain(9.0f).withTruePeak(true).withCeiling(-1.0f).withSaturation(0.3f).withBits(16)
                .withShaping(1.0f),
            0x496225c1dd879d3aull, 1},
        {"FiveChannelsTruePeakUpperLink",
            Settings().withGain(10.0f).withTruePeak(true).withLink(0.8f).withSaturation(0.2f),
            0xe24f4c7a3d013219ull, 5},
    };
}

// Two seconds of the loud mix, so that every render limits and, where
// saturation is on, saturates. Channels past the second take the first two,
// each shifted in time by its own amount and a little quieter.
Buffer goldenSignal(int channels)
{
    const int frames = 88200;
    Buffer in = loudMix(44100.0f, frames, 20240601u);
    for (int ch = 2; ch < channels; ++ch)
    {
        in.emplace_back(size_t(frames));
        for (int n = 0; n < frames; ++n)
            in[size_t(ch)][size_t(n)] = 0.9f * in[size_t(ch % 2)][size_t((n + 1733 * ch) % frames)];
    }
    in.resize(size_t(channels));
    return in;
}

// The checksum of every output channel in turn.
uint64_t render(const GoldenRender& r)
{
    uint64_t hash = fnv1aStart;
    for (const auto& channel : renderFromStart(r.settings, goldenSignal(r.channels)))
        hash = fnv1a(channel.data(), channel.size(), hash);
    return hash;
}
}

class CLimiterGoldenTest : public ::testing::TestWithParam<GoldenRender>
{
};

TEST_P(CLimiterGoldenTest, OutputMatchesTheRecordedRender)
{
    const GoldenRender& r = GetParam();
    const uint64_t first = render(r);
    // Anything left uninitialised would show up as two renders disagreeing.
    EXPECT_EQ(first, render(r)) << "two renders give different bits";
    EXPECT_EQ(first, r.checksum) << std::hex << "rendered 0x" << first << ", recorded 0x" << r.checksum;
}

INSTANTIATE_TEST_SUITE_P(Renders, CLimiterGoldenTest, ::testing::ValuesIn(goldenRenders()),
    [](const ::testing::TestParamInfo<GoldenRender>& info) { return std::string(info.param.name); });
