// The module's audio path through the binary interface: latency, flushing on
// suspend/resume and rate changes, the rate reaching the limiter (clamped),
// and calls a careless host might make.
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

// Runs the same signal through both channels in host-sized blocks; in place,
// the host hands the same arrays in and out.
Stereo render(VstModule& plugin, const std::vector<float>& input, bool inPlace = false)
{
    Stereo in{input, input};
    Stereo out{std::vector<float>(input.size()), std::vector<float>(input.size())};
    Stereo& written = inPlace ? in : out;
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

namespace
{
// The detector reads L samples ahead of the output tap, so gain reduction
// starts exactly L samples before a spike. A Nyquist square of +-0.25 (never
// near zero, so no anti-denormal noise) runs through two instances, one with
// a sample raised to 4.0; until the spike arrives their output ratio is the
// gain g of the spiked one. With saturation off and the ceiling at 0 dB the
// gain computer sees v = the high-passed spike, smoothed by four one-pole
// sections with coefficient exp(-10/L): g = 1/s3 once s3 > 1.
void expectLookahead(HostCalls setRate, int samples, float clampedRate)
{
    const std::size_t frames = 8192;
    const std::size_t spikeAt = 6000;
    std::vector<float> square(frames);
    for (std::size_t i = 0; i < frames; ++i)
    {
        square[i] = (i % 2 == 0) ? 0.25f : -0.25f;
    }
    std::vector<float> spiked(square);
    spiked[spikeAt] = 4.0f;
    const auto run = [setRate](const std::vector<float>& input) {
        VstModule plugin(PALISORNE_MODULE_PATH);
        start(plugin, setRate);
        plugin.setParameter(10, 0.0f); // no saturation
        plugin.setParameter(5, 1.0f);  // ceiling 0 dB
        return render(plugin, input);
    };
    const Stereo reference = run(square);
    const Stereo limited = run(spiked);

    // The high-pass multiplies a new sample by its pole p; its state
    // (about 2e-5 for this square) shifts v by less than 2e-5.
    const float pole = std::exp(-2.0f * std::atan(pi / clampedRate));
    const float v = 4.0f * pole;
    const float coef = std::exp(-10.0f / static_cast<float>(samples));
    const std::size_t first = spikeAt + latency - static_cast<std::size_t>(samples);
    for (const auto& [out, ref] : {std::pair{&limited.left, &reference.left}, std::pair{&limited.right, &reference.right}})
    {
        // Float rounding in the chain and the spike's offset stay below
        // 3e-5 of the gain; a look-ahead one sample off changes it by
        // far more in the middle of the window.
        EXPECT_NEAR((*out)[first - 1] / (*ref)[first - 1], 1.0f, 1e-4f) << "before the window";
        float s[4] = {1.0f, 1.0f, 1.0f, 1.0f};
        for (int n = 0; n < samples; ++n)
        {
            s[0] = v + (s[0] - v) * coef;
            s[1] = s[0] + (s[1] - s[0]) * coef;
            s[2] = s[1] + (s[2] - s[1]) * coef;
            s[3] = s[2] + (s[3] - s[2]) * coef;
            const float gain = s[3] > 1.0f ? 1.0f / s[3] : 1.0f;
            const std::size_t i = first + static_cast<std::size_t>(n);
            ASSERT_NEAR((*out)[i] / (*ref)[i], gain, 1e-4f) << "sample " << n << " of " << samples;
        }
        // The spike itself is held at the ceiling.
        EXPECT_LE(std::fabs((*out)[spikeAt + latency]), 1.0f);
    }
}
}

TEST(PluginAudio, RateReachesTheLimiterClampedTo22050Through192000)
{
    expectLookahead(noCalls, 44, 44100.0f);
    expectLookahead([](VstModule& p) { p.setSampleRate(48000.0f); }, 48, 48000.0f);
    expectLookahead([](VstModule& p) { p.setSampleRate(8000.0f); }, 22, 22050.0f);
    expectLookahead([](VstModule& p) { p.setSampleRate(384000.0f); }, 192, 192000.0f);
    // Set while suspended.
    expectLookahead([](VstModule& p) { p.suspend(); p.setSampleRate(96000.0f); }, 96, 96000.0f);
}

TEST(PluginAudio, CarelessCallsLeaveBuffersAlone)
{
    VstModule plugin(PALISORNE_MODULE_PATH);
    start(plugin);
    std::vector<float> in(64, 0.5f), outLeft(64, 7.0f), outRight(64, 7.0f);
    float* inputs[2] = {in.data(), in.data()};
    float* outputs[2] = {outLeft.data(), outRight.data()};
    float* missingInput[2] = {in.data(), nullptr};
    float* missingOutput[2] = {nullptr, outRight.data()};

    plugin.processReplacing(nullptr, outputs, 64);
    plugin.processReplacing(inputs, nullptr, 64);
    plugin.processReplacing(missingInput, outputs, 64);
    plugin.processReplacing(inputs, missingOutput, 64);
    plugin.processReplacing(inputs, outputs, -64);
    plugin.processReplacing(inputs, outputs, 0);
    EXPECT_EQ(peak(outLeft, 0, 64), 7.0f);
    EXPECT_EQ(peak(outRight, 0, 64), 7.0f);

    // Double precision is not offered; a host that calls it anyway gets nothing done.
    std::vector<double> inDouble(64, 0.5), outDouble(64, 7.0);
    double* doubleInputs[2] = {inDouble.data(), inDouble.data()};
    double* doubleOutputs[2] = {outDouble.data(), outDouble.data()};
    plugin.effect()->processDoubleReplacing(plugin.effect(), doubleInputs, doubleOutputs, 64);
    EXPECT_EQ(outDouble[0], 7.0);

    // Processing carries on normally afterwards.
    plugin.processReplacing(inputs, outputs, 64);
    EXPECT_LT(peak(outLeft, 0, 64), 1e-6f);
}

TEST(PluginAudio, InPlaceProcessingMatchesSeparateBuffers)
{
    std::vector<float> signal(8192);
    for (std::size_t i = 0; i < signal.size(); ++i)
    {
        const float t = static_cast<float>(i) / 44100.0f;
        signal[i] = 1.2f * std::sin(2.0f * pi * 180.0f * t) + 0.6f * std::sin(2.0f * pi * 2500.0f * t);
    }
    VstModule separate(PALISORNE_MODULE_PATH);
    start(separate);
    const Stereo expected = render(separate, signal);
    VstModule inPlace(PALISORNE_MODULE_PATH);
    start(inPlace);
    const Stereo actual = render(inPlace, signal, true);
    // The two instances differ only in the +-1e-8 noise drawn while their
    // delay lines were still silent.
    for (std::size_t i = 0; i < signal.size(); ++i)
    {
        ASSERT_NEAR(actual.left[i], expected.left[i], 1e-6f) << i;
        ASSERT_NEAR(actual.right[i], expected.right[i], 1e-6f) << i;
    }
    EXPECT_GT(peak(actual.left, 0, signal.size()), 0.5f);
}
