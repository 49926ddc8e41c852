#include "Renderer.h"
#include "ScratchDirectory.h"
#include "TestAudio.h"
#include "TestModules.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>

namespace
{
constexpr int floatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;

// A render of in.wav into out.wav in the scratch directory through a module.
RenderSettings renderSettings(const ScratchDirectory& scratch, const char* module)
{
    RenderSettings settings;
    settings.inputPath = scratch.path("in.wav");
    settings.outputPath = scratch.path("out.wav");
    settings.pluginPath = module;
    return settings;
}

RenderSettings probeSettings(const ScratchDirectory& scratch, int delay)
{
    RenderSettings settings = renderSettings(scratch, TestModules::delayProbe);
    settings.unitSettings.push_back("Delay=" + std::to_string(delay));
    return settings;
}
}

// The probe delays by exactly its latency and passes samples through at
// 0 dB, so with compensation the output must equal the input bit for bit,
// whatever the relation between latency and block size.
TEST(RendererAlignment, OutputEqualsInputSampleForSample)
{
    const struct
    {
        int delay;
        int block;
    } cases[] = {{777, 512}, {777, 1}, {777, 4096}, {512, 512}, {0, 300}, {2000, 64}};
    for (const auto& c : cases)
    {
        ScratchDirectory scratch;
        const TestAudio input = TestAudio::noise(2, 44100, 10007, 0.9f, floatWav).write(scratch.path("in.wav"));
        RenderSettings settings = probeSettings(scratch, c.delay);
        settings.blockFrames = c.block;
        const RenderReport report = Renderer(settings).run(nullptr);
        EXPECT_EQ(report.latencyFrames, c.delay);
        const TestAudio output = TestAudio::read(scratch.path("out.wav"));
        ASSERT_EQ(output.frames(), input.frames()) << "delay " << c.delay << ", block " << c.block;
        EXPECT_EQ(output.samples, input.samples) << "delay " << c.delay << ", block " << c.block;
    }
}

TEST(RendererAlignment, KeptLatencyDelaysTheWholeInputAndFlushesItsTail)
{
    ScratchDirectory scratch;
    const TestAudio input = TestAudio::noise(2, 48000, 5000, 0.5f, floatWav).write(scratch.path("in.wav"));
    RenderSettings settings = probeSettings(scratch, 300);
    settings.keepLatency = true;
    const RenderReport report = Renderer(settings).run(nullptr);
    EXPECT_FALSE(report.latencyCompensated);
    const TestAudio output = TestAudio::read(scratch.path("out.wav"));
    ASSERT_EQ(output.frames(), input.frames() + 300);
    EXPECT_EQ(std::vector<float>(output.samples.begin(), output.samples.begin() + 600), std::vector<float>(600, 0.0f));
    EXPECT_EQ(std::vector<float>(output.samples.begin() + 600, output.samples.end()), input.samples);
}

TEST(RendererShape, LengthRateChannelsAndSampleTypeFollowTheInput)
{
    ScratchDirectory scratch;
    TestAudio::noise(2, 22050, 3333, 0.5f, SF_FORMAT_WAV | SF_FORMAT_PCM_16).write(scratch.path("in.wav"));
    const TestAudio input = TestAudio::read(scratch.path("in.wav"));
    RenderSettings settings = probeSettings(scratch, 100);
    settings.noDither = true;
    const RenderReport report = Renderer(settings).run(nullptr);
    const TestAudio output = TestAudio::read(scratch.path("out.wav"));
    EXPECT_EQ(output.frames(), 3333u);
    EXPECT_EQ(output.sampleRate, 22050);
    EXPECT_EQ(output.channels, 2);
    EXPECT_EQ(output.format, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    // Undithered, 16-bit samples pass the float path and come back as the same integers.
    EXPECT_EQ(output.samples, input.samples);
    EXPECT_EQ(report.input.frames, 3333);
    EXPECT_EQ(report.output.frames, 3333);
    EXPECT_EQ(report.output.sampleRate, 22050);
}

TEST(RendererProgram, ProgramThenSettingsAreApplied)
{
    ScratchDirectory scratch;
    const TestAudio input = TestAudio::noise(2, 48000, 1000, 0.5f, floatWav).write(scratch.path("in.wav"));
    RenderSettings settings = probeSettings(scratch, 20);
    settings.program = "Quiet -6 dB";
    settings.unitSettings.push_back("Trim=-3");
    const RenderReport report = Renderer(settings).run(nullptr);
    EXPECT_EQ(report.program, "Quiet -6 dB");
    ASSERT_EQ(report.settings.size(), 2u);
    EXPECT_EQ(report.settings[1].name, "Trim");
    EXPECT_EQ(report.settings[1].display, "-3.00 dB");
    // -6 dB from the program and -3 dB of trim: a float gain of 10^(-9/20),
    // applied to float samples, so a relative error of a float's 6e-8.
    const float gain = static_cast<float>(std::pow(10.0, -9.0 / 20.0));
    const TestAudio output = TestAudio::read(scratch.path("out.wav"));
    for (size_t i : {size_t{0}, size_t{1}, size_t{777}, size_t{1999}})
    {
        EXPECT_NEAR(output.samples[i], gain * input.samples[i], 1e-7f) << "sample " << i;
    }
}

TEST(RendererReport, LoudnessFiguresOfInputAndOutput)
{
    ScratchDirectory scratch;
    TestAudio::sines(2, 48000, 48000 * 4, {{997.0, 0.5}}, floatWav).write(scratch.path("in.wav"));
    RenderSettings settings = probeSettings(scratch, 100);
    settings.program = "Loud +6 dB";
    const RenderReport report = Renderer(settings).run(nullptr);
    // A 997 Hz sine of amplitude 0.5 in both channels reads 20 log10(0.5)
    // LUFS within the meter's 0.05; the probe adds exactly 6 dB.
    EXPECT_NEAR(report.input.loudness.integratedLufs, 20.0 * std::log10(0.5), 0.05);
    EXPECT_NEAR(report.output.loudness.integratedLufs - report.input.loudness.integratedLufs, 6.0, 0.01);
    EXPECT_NEAR(report.output.loudness.samplePeakDbfs[1], 20.0 * std::log10(0.5) + 6.0, 0.02);
    // Not our limiter: no ceiling, no warning; a louder output is no reduction.
    EXPECT_EQ(report.largestGainReductionDb, std::vector<double>(2, 0.0));
    EXPECT_FALSE(report.ceilingDb.has_value());
    EXPECT_TRUE(report.warnings.empty());
}

// Our limiter with input gain 0, no saturation, no word-length reduction and
// the ceiling at 0 dBFS leaves a -10 dBFS signal alone except for its 1 Hz
// high-pass: at 1 kHz and above its phase shift is at most 1/1000 rad, so the
// output differs from the input by at most 1e-3 of each partial's amplitude,
// 3e-4 in all here. Misaligned by one sample at 48 kHz, the 1 kHz partial
// alone would differ by up to 2 sin(pi 1000/48000) * 0.1 = 0.013.
TEST(RendererOurs, LatencyCompensationLinesUpAnUntouchedSignal)
{
    SKIP_WITHOUT_MODULE(TestModules::ours);
    ScratchDirectory scratch;
    const TestAudio input =
        TestAudio::sines(2, 48000, 48000 * 2, {{1000.0, 0.1}, {2500.0, 0.1}, {5300.0, 0.1}}, floatWav)
            .write(scratch.path("in.wav"));
    RenderSettings settings = renderSettings(scratch, TestModules::ours);
    settings.unitSettings = {"In gain=0", "Saturate=0", "NumBits=0", "Outceil=0"};
    const RenderReport report = Renderer(settings).run(nullptr);
    EXPECT_EQ(report.latencyFrames, 1535);
    const TestAudio output = TestAudio::read(scratch.path("out.wav"));
    ASSERT_EQ(output.frames(), input.frames());
    EXPECT_EQ(input.bestAlignment(output, 8, 2400).first, 0);
    double largest = 0.0;
    // The first 50 ms hold the high-pass's settling and are left out.
    for (size_t frame = 2400; frame < input.frames(); ++frame)
    {
        for (int channel = 0; channel < 2; ++channel)
        {
            largest =
                std::max(largest, std::fabs(static_cast<double>(output.at(frame, channel) - input.at(frame, channel))));
        }
    }
    EXPECT_LT(largest, 1e-3);
    ASSERT_EQ(report.largestGainReductionDb.size(), 2u);
    EXPECT_LT(report.largestGainReductionDb[0], 0.01);
}

// A 997 Hz sine at -6 dBFS raised by 12 dB must come out at the -1 dB
// ceiling: the limiter takes 6 dB + 1 dB = 7 dB off its peaks.
TEST(RendererOurs, LimitingHoldsTheCeilingAndReportsTheReduction)
{
    SKIP_WITHOUT_MODULE(TestModules::ours);
    ScratchDirectory scratch;
    TestAudio::sines(2, 48000, 48000 * 3, {{997.0, 0.5}}, floatWav).write(scratch.path("in.wav"));
    RenderSettings settings = renderSettings(scratch, TestModules::ours);
    settings.program = "EBU R128 -1 dBTP";
    settings.unitSettings = {"In gain=12"};
    const RenderReport report = Renderer(settings).run(nullptr);
    ASSERT_TRUE(report.ceilingDb.has_value());
    EXPECT_EQ(*report.ceilingDb, -1.0);
    // 24-bit word length with dither adds at most a few LSB (2^-23): far
    // below the 0.01 dB allowed for the sample peak.
    for (double peak : report.output.loudness.samplePeakDbfs)
    {
        EXPECT_LE(peak, -1.0 + 0.01);
    }
    ASSERT_EQ(report.largestGainReductionDb.size(), 2u);
    for (size_t channel = 0; channel < 2; ++channel)
    {
        EXPECT_NEAR(report.largestGainReductionDb[channel], 7.0, 0.3);
        EXPECT_NEAR(report.meanGainReductionDb[channel], 7.0, 0.3);
    }
}

TEST(RendererOurs, RateOutsideTheLimitersRangeIsRenderedAtTheFilesRateWithAWarning)
{
    SKIP_WITHOUT_MODULE(TestModules::ours);
    ScratchDirectory scratch;
    TestAudio::noise(2, 16000, 16000, 0.1f, floatWav).write(scratch.path("in.wav"));
    RenderSettings settings = renderSettings(scratch, TestModules::ours);
    const RenderReport report = Renderer(settings).run(nullptr);
    ASSERT_EQ(report.warnings.size(), 1u);
    EXPECT_NE(report.warnings[0].find("16000 Hz lies outside the 22050..192000 Hz"), std::string::npos)
        << report.warnings[0];
    EXPECT_NE(report.warnings[0].find("set for 22050 Hz"), std::string::npos) << report.warnings[0];
    const TestAudio output = TestAudio::read(scratch.path("out.wav"));
    EXPECT_EQ(output.sampleRate, 16000);
    EXPECT_EQ(output.frames(), 16000u);
}
