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
// whatever the relation between latency and block size; with the latency
// kept, it is the input after that many frames of silence. Length, rate,
// channels and sample type follow the input: undithered, 16-bit samples pass
// the float path and come back as the same integers.
TEST(RendererAlignment, OutputIsTheInputAlignedOrAfterTheKeptLatency)
{
    const struct
    {
        int delay;
        int block;
        bool keepLatency;
        int rate;
        int format;
    } cases[] = {{777, 512, false, 44100, floatWav}, {777, 1, false, 44100, floatWav},
                 {777, 4096, false, 44100, floatWav}, {512, 512, false, 44100, floatWav},
                 {0, 300, false, 44100, floatWav},    {2000, 64, false, 44100, floatWav},
                 {300, 512, true, 48000, floatWav},   {100, 512, false, 22050, SF_FORMAT_WAV | SF_FORMAT_PCM_16}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE("delay " + std::to_string(c.delay) + ", block " + std::to_string(c.block));
        ScratchDirectory scratch;
        TestAudio::noise(2, c.rate, 10007, 0.9f, c.format).write(scratch.path("in.wav"));
        const TestAudio input = TestAudio::read(scratch.path("in.wav"));
        RenderSettings settings = probeSettings(scratch, c.delay);
        settings.blockFrames = c.block;
        settings.keepLatency = c.keepLatency;
        settings.noDither = true;
        const RenderReport report = Renderer(settings).run(nullptr);
        EXPECT_EQ(report.latencyFrames, c.delay);
        EXPECT_EQ(report.latencyCompensated, !c.keepLatency);
        const TestAudio output = TestAudio::read(scratch.path("out.wav"));
        std::vector<float> expected(c.keepLatency ? 2 * static_cast<size_t>(c.delay) : 0, 0.0f);
        expected.insert(expected.end(), input.samples.begin(), input.samples.end());
        EXPECT_EQ(output.samples, expected);
        EXPECT_EQ(report.output.frames, static_cast<long long>(output.frames()));
        EXPECT_EQ(output.sampleRate, c.rate);
        EXPECT_EQ(output.channels, 2);
        EXPECT_EQ(output.format, c.format);
    }
}

// -6 dB from the program and -3 dB of trim: a float gain of 10^(-9/20),
// applied to float samples, so a relative error of a float's 6e-8. The
// report's loudness figures differ by the same 9 dB; not being our limiter,
// the probe gets no ceiling and no warning.
TEST(RendererProgram, ProgramThenSettingsAreAppliedAndReported)
{
    ScratchDirectory scratch;
    const TestAudio input =
        TestAudio::sines(2, 48000, 48000 * 4, {{997.0, 0.5}}, floatWav).write(scratch.path("in.wav"));
    RenderSettings settings = probeSettings(scratch, 20);
    settings.program = "Quiet -6 dB";
    settings.unitSettings.push_back("Trim=-3");
    const RenderReport report = Renderer(settings).run(nullptr);
    EXPECT_EQ(report.program, "Quiet -6 dB");
    ASSERT_EQ(report.settings.size(), 2u);
    EXPECT_EQ(report.settings[1].name, "Trim");
    EXPECT_EQ(report.settings[1].display, "-3.00 dB");
    const float gain = static_cast<float>(std::pow(10.0, -9.0 / 20.0));
    const TestAudio output = TestAudio::read(scratch.path("out.wav"));
    for (size_t i : {size_t{0}, size_t{1}, size_t{777}, size_t{1999}})
    {
        EXPECT_NEAR(output.samples[i], gain * input.samples[i], 1e-7f) << "sample " << i;
    }
    EXPECT_NEAR(report.input.loudness.integratedLufs - report.output.loudness.integratedLufs, 9.0, 0.01);
    EXPECT_FALSE(report.ceilingDb.has_value());
    EXPECT_TRUE(report.warnings.empty());
}

// A 997 Hz sine at -6 dBFS raised by 12 dB must come out at the -1 dB
// ceiling: the limiter takes 6 dB + 1 dB = 7 dB off its peaks, off every
// window of it. The first half is 20 dB quieter and passes unreduced, and
// the reduction starts within the look-ahead, a window at most: the mean is
// half of the 7 dB.
TEST(RendererOurs, LimitingReportsTheCeilingAndTheReduction)
{
    SKIP_WITHOUT_MODULE(TestModules::ours);
    ScratchDirectory scratch;
    TestAudio input = TestAudio::sines(2, 48000, 48000 * 3, {{997.0, 0.5}}, floatWav);
    for (size_t i = 0; i < input.samples.size() / 2; ++i)
    {
        input.samples[i] *= 0.1f;
    }
    input.write(scratch.path("in.wav"));
    RenderSettings settings = renderSettings(scratch, TestModules::ours);
    settings.program = "EBU R128 -1 dBTP";
    settings.unitSettings = {"In gain=12"};
    const RenderReport report = Renderer(settings).run(nullptr);
    ASSERT_TRUE(report.ceilingDb.has_value());
    EXPECT_EQ(*report.ceilingDb, -1.0);
    ASSERT_EQ(report.largestGainReductionDb.size(), 2u);
    for (size_t channel = 0; channel < 2; ++channel)
    {
        EXPECT_NEAR(report.largestGainReductionDb[channel], 7.0, 0.3);
        EXPECT_NEAR(report.meanGainReductionDb[channel], 3.5, 0.3);
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
