#include "limiter/CLimiter.h"
#include "limiter/LimiterTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

using namespace limiter_test;

// The limiter works on a pair of channels side by side; more channels take
// more pairs, coupled only by the stereo link. These tests run limiters of
// five and six channels (full pairs and a channel alone) against what the
// link law says of the channels.
namespace
{
// Every channel its own loud signal: a tone of its own frequency, noise and
// a burst at its own time, peaking well above the ceiling.
Buffer distinctChannels(int channels, int frames)
{
    const double pi = 3.14159265358979323846;
    Buffer in = makeBuffer(channels, frames);
    TestNoise noise(4242u);
    for (int ch = 0; ch < channels; ++ch)
        for (int n = 0; n < frames; ++n)
        {
            const double burst = (n / 3000) % channels == ch ? 3.0 : 0.0;
            in[ch][n] = static_cast<float>((0.6 + burst) * std::sin(2.0 * pi * (60.0 + 37.0 * ch) * n / 44100.0)
                + 0.1 * noise.next());
        }
    return in;
}

Settings loudSettings(float link)
{
    Settings s;
    s.inputGainDb = 6.0f;
    s.ceilingDb = -1.0f;
    s.lookahead = 0.001f;
    s.link = link;
    return s;
}
}

TEST(CLimiterChannelGroupTest, UnlinkedChannelsBehaveAsSeparateLimitersInEveryGroup)
{
    // With the link at 0 a channel's gain depends on that channel alone. The
    // only coupling left is the shared anti-denormal noise (+-1e-8, drawn
    // while the frame stage still outputs silence), which reaches a channel
    // at a different point of the sequence than in a limiter of its own: it
    // moves the output by a few 1e-8 at most, far below 1e-6.
    for (int channels : {5, 6})
    {
        const Buffer in = distinctChannels(channels, 24000);
        const Buffer together = limit(loudSettings(0.0f), in);
        for (int ch = 0; ch < channels; ++ch)
        {
            const Buffer alone = limit(loudSettings(0.0f), Buffer{in[ch]});
            double worst = 0.0;
            for (size_t n = 0; n < in[ch].size(); ++n)
                worst = std::max(worst, std::fabs(double(together[ch][n]) - double(alone[0][n])));
            EXPECT_LT(worst, 1e-6) << channels << " channels, channel " << ch;
        }
    }
}

TEST(CLimiterChannelGroupTest, FullLinkGivesEveryChannelTheSameGainAcrossGroups)
{
    // At link 1 every channel's smoothing input is the largest hold and
    // envelope over all channels, so every channel gets the same gain, sample
    // for sample: the gain meters, which hold the lowest gain until read,
    // must agree exactly, and the bursts of any one channel pull all of them
    // down.
    const int channels = 6;
    const Buffer in = distinctChannels(channels, 24000);
    SetUpLimiter limiter(loudSettings(1.0f), channels);
    std::vector<const float*> inputs(channels);
    Buffer out = makeBuffer(channels, 512);
    std::vector<float*> outputs(channels);
    for (int ch = 0; ch < channels; ++ch)
        outputs[ch] = out[ch].data();
    int reductions = 0;
    for (int pos = 0; pos + 512 <= 24000; pos += 512)
    {
        for (int ch = 0; ch < channels; ++ch)
            inputs[ch] = in[ch].data() + pos;
        limiter.process(inputs.data(), outputs.data(), 512);
        const float first = limiter.getGainReduction(0);
        for (int ch = 1; ch < channels; ++ch)
            EXPECT_EQ(limiter.getGainReduction(ch), first) << "block at " << pos << ", channel " << ch;
        reductions += first < 0.9f ? 1 : 0;
    }
    EXPECT_GT(reductions, 10);
}
