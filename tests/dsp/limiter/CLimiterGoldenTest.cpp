#include "limiter/CLimiter.h"
#include "limiter/LimiterTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <ostream>
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
// A checksum of 0 marks a render whose output has not been recorded yet; the
// test fails on it and prints the checksum to record.
const uint64_t notRecorded = 0;

struct GoldenRender
{
    const char* name;
    Settings settings;
    uint64_t checksum;
    int channels = 2;
    // Settings changed between blocks of changing sizes, as automation does.
    bool automated = false;
};

void PrintTo(const GoldenRender& render, std::ostream* os)
{
    *os << render.name;
}

std::vector<GoldenRender> goldenRenders()
{
    return {
        // Sample peaks, no word length, moderate saturation (the plug-in's
        // first factory program, driven 6 dB harder).
        {"SamplePeakSaturated",
            Settings().withGain(6.0f).withAttack(0.04f).withRelease(0.5f).withLookahead(0.001f).withCeiling(-0.1f)
                .withLink(0.35f).withSaturation(0.3f),
            0xa39e285243fee67aull},
        {"TruePeakLinked8Bit",
            Settings().withGain(9.0f).withAttack(0.02f).withRelease(0.3f).withTruePeak(true).withCeiling(-1.0f)
                .withLink(1.0f).withBits(8),
            0xcfa7d14293f91f54ull},
        {"MonitorUnlinked8BitShaped",
            Settings().withGain(12.0f).withLookahead(0.0015f).withLink(0.0f).withMonitor(true).withSaturation(0.8f)
                .withBits(8).withShaping(1.0f),
            0x526e6964d717e46bull},
        {"TruePeak16Bit",
            Settings().withGain(6.0f).withTruePeak(true).withCeiling(-0.1f).withLink(0.5f).withSaturation(0.5f)
                .withBits(16),
            0xdd85b2c0f90e7a48ull},
        {"InstantUpperLink16BitShaped",
            Settings().withGain(10.0f).withAttack(0.0f).withRelease(0.15f).withLookahead(0.0f).withLink(0.75f)
                .withSaturation(1.0f).withBits(16).withShaping(1.0f),
            0x41241ec1303e2fd0ull},
        {"TruePeak24Bit",
            Settings().withGain(3.0f).withAttack(0.04f).withRelease(0.3f).withLookahead(0.001f).withTruePeak(true)
                .withCeiling(-1.0f).withLink(0.4f).withSaturation(0.2f).withBits(24),
            0x9af58e4f38f9e963ull},
        {"SlowMonitorLinked24BitShaped",
            Settings().withGain(8.0f).withAttack(1.0f).withRelease(1.0f).withLookahead(0.003f).withCeiling(-3.0f)
                .withLink(1.0f).withMonitor(true).withSaturation(0.9f).withBits(24).withShaping(0.5f),
            0x31ae592123019c48ull},
        {"TruePeakUnlinked16BitHalfShaped",
            Settings().withGain(14.0f).withTruePeak(true).withLink(0.0f).withAes17(false).withBits(16).withShaping(0.5f),
            0x7532a0112c2ec3f0ull},
        // Other channel counts: one channel, and channels that the limiter
        // works on in more than one group, coupled by the link.
        {"MonoTruePeak16BitShaped",
            Settings().withGain(9.0f).withTruePeak(true).withCeiling(-1.0f).withSaturation(0.3f).withBits(16)
                .withShaping(1.0f),
            0xc68de0877a7ad103ull, 1},
        {"FourChannelsLinked24Bit",
            Settings().withGain(8.0f).withLookahead(0.001f).withCeiling(-0.5f).withLink(0.35f).withSaturation(0.5f)
                .withBits(24),
            0xfe7c55fb981ebbefull, 4},
        {"FiveChannelsTruePeakUpperLink",
            Settings().withGain(10.0f).withTruePeak(true).withLink(0.8f).withSaturation(0.2f),
            0x6c81274fcff6c522ull, 5},
        {"AutomatedEverySetting", Settings().withGain(6.0f).withSaturation(0.3f), 0x51bd63c9205b8371ull, 2, true},
        {"AutomatedThreeChannels", Settings().withGain(9.0f).withTruePeak(true), 0x3e5a25cd71087023ull, 3, true},
    };
}

// Two seconds at 44.1 kHz: a bass and a lead line with harmonics, noise from
// the tests' own generator, a slow swell, drum hits every 125 ms and single
// sample clicks; peaks near +13 dBFS, so every render limits and, where
// saturation is on, saturates. Channels past the second take the first two,
// each shifted in time by its own amount and a little quieter.
Buffer goldenSignal(int channels)
{
    const double pi = 3.14159265358979323846;
    const double fs = 44100.0;
    const int frames = 88200;
    Buffer in = makeBuffer(2, frames);
    TestNoise noise(20240601u);
    const double bass[2] = {82.41, 110.0};
    const double lead[2] = {329.63, 440.0};
    const double air[2] = {2637.0, 5274.0};
    const int hitSpacing = 5512;
    const int clickSpacing = 16317;
    for (int n = 0; n < frames; ++n)
    {
        const double t = n / fs;
        const double swell = 0.7 + 0.4 * std::sin(2.0 * pi * 0.7 * t);
        const int sinceHit = n % hitSpacing;
        const double hitDecay = std::exp(-sinceHit / (n / hitSpacing % 2 == 0 ? 300.0 : 1200.0));
        const double hit = 2.5 * hitDecay * noise.next();
        for (int ch = 0; ch < 2; ++ch)
        {
            double x = swell
                    * (0.7 * std::sin(2.0 * pi * bass[ch] * t) + 0.5 * std::sin(2.0 * pi * lead[ch] * t + 0.3 + ch)
                        + 0.25 * std::sin(2.0 * pi * air[ch] * t))
                + 0.2 * noise.next() + (ch == 0 ? hit : 0.8 * hit);
            if (n % clickSpacing == 4000 + 777 * ch)
                x = (ch == 0 ? 3.0 : -3.0);
            in[ch][n] = static_cast<float>(x);
        }
    }
    const Buffer stereo = in;
    in.resize(size_t(channels));
    for (int ch = 2; ch < channels; ++ch)
    {
        in[size_t(ch)].resize(size_t(frames));
        for (int n = 0; n < frames; ++n)
            in[size_t(ch)][size_t(n)] = 0.9f * stereo[size_t(ch % 2)][size_t((n + 1733 * ch) % frames)];
    }
    return in;
}

// The render with one setting changed before each block, in turn, and the
// block size changed with it: look-ahead, true peak, link, ceiling, attack,
// release, input gain, word length, shaping, monitor, saturation.
Buffer limitAutomated(const Settings& s, const Buffer& in)
{
    SetUpLimiter limiter(s, static_cast<int>(in.size()));
    const int channels = static_cast<int>(in.size());
    const int frames = static_cast<int>(in[0].size());
    Buffer out = makeBuffer(channels, frames);
    std::vector<const float*> inputs(static_cast<size_t>(channels));
    std::vector<float*> outputs(static_cast<size_t>(channels));
    const int sizes[] = {1, 7, 64, 333, 512, 1000, 2048};
    for (int pos = 0, block = 0; pos < frames; ++block)
    {
        const int k = block / 11;
        switch (block % 11)
        {
        case 0: limiter.setLookahead(0.0005f * float(k % 7)); break;
        case 1: limiter.setTruePeak(k % 2 == 0); break;
        case 2: limiter.setLink(0.25f * float(k % 5)); break;
        case 3: limiter.setCeiling(-1.5f * float(k % 4)); break;
        case 4: limiter.setAttack(0.02f * float(k % 3)); break;
        case 5: limiter.setRelease(0.1f + 0.3f * float(k % 3)); break;
        case 6: limiter.setInputGain(3.0f * float(k % 4)); break;
        case 7: limiter.setNumBits(static_cast<int8_t>(8 * (k % 4))); break;
        case 8: limiter.setShaping(0.5f * float(k % 3)); break;
        case 9: limiter.setMonitor(k % 2 == 1); break;
        default: limiter.setSaturation(0.25f * float(k % 5)); break;
        }
        const int count = std::min(sizes[block % 7], frames - pos);
        for (int ch = 0; ch < channels; ++ch)
        {
            inputs[ch] = in[ch].data() + pos;
            outputs[ch] = out[ch].data() + pos;
        }
        limiter.process(inputs.data(), outputs.data(), count);
        pos += count;
    }
    return out;
}

// FNV-1a 64 over the bit patterns of every output float, channel by
// channel, each as four bytes from the least significant.
uint64_t checksum(const Buffer& out)
{
    uint64_t hash = 0xcbf29ce484222325ull;
    for (const auto& channel : out)
        for (float x : channel)
        {
            uint32_t bits;
            std::memcpy(&bits, &x, sizeof bits);
            for (int byte = 0; byte < 4; ++byte)
            {
                hash ^= (bits >> (8 * byte)) & 0xFFu;
                hash *= 0x100000001b3ull;
            }
        }
    return hash;
}

uint64_t renderFromStart(const GoldenRender& r)
{
    restartGenerators();
    const Buffer in = goldenSignal(r.channels);
    return checksum(r.automated ? limitAutomated(r.settings, in) : limit(r.settings, in));
}
}

class CLimiterGoldenTest : public ::testing::TestWithParam<GoldenRender>
{
};

TEST_P(CLimiterGoldenTest, OutputMatchesTheRecordedRender)
{
    const GoldenRender& r = GetParam();
    const uint64_t first = renderFromStart(r);
    // Anything left uninitialised would show up as two renders disagreeing.
    EXPECT_EQ(first, renderFromStart(r)) << "two renders give different bits";
    ASSERT_NE(r.checksum, notRecorded) << "no checksum recorded for " << r.name << "; this build renders 0x" << std::hex
                                       << first;
    EXPECT_EQ(first, r.checksum) << std::hex << "rendered 0x" << first << ", recorded 0x" << r.checksum;
}

INSTANTIATE_TEST_SUITE_P(Renders, CLimiterGoldenTest, ::testing::ValuesIn(goldenRenders()),
    [](const ::testing::TestParamInfo<GoldenRender>& info) { return std::string(info.param.name); });
