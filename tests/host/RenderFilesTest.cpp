#include "ScratchDirectory.h"
#include "TestAudio.h"
#include "TestModules.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

// What a render does to the files themselves, seen through the executable:
// encoding, word length, metadata, channels and damaged input.
namespace
{
nlohmann::json renderJson(const std::vector<std::string>& arguments)
{
    const ProcessResult run = runPalisorne(joined({"render", "--plugin", TestModules::delayProbe, "--json"}, arguments));
    EXPECT_EQ(run.exitCode, 0) << run.err;
    return run.out.empty() ? nlohmann::json() : nlohmann::json::parse(run.out);
}

// The amplitude of the partial at `hz` in channel 0 (a single DFT bin).
double amplitudeAt(const TestAudio& audio, double hz)
{
    double re = 0.0;
    double im = 0.0;
    for (size_t frame = 0; frame < audio.frames(); ++frame)
    {
        const double phase = 6.283185307179586 * hz * static_cast<double>(frame) / audio.sampleRate;
        re += audio.at(frame, 0) * std::cos(phase);
        im += audio.at(frame, 0) * std::sin(phase);
    }
    return 2.0 * std::hypot(re, im) / static_cast<double>(audio.frames());
}
}

// The report of a lossy output measures the file a listener decodes: the
// true peak sox's decode shows, read here with libebur128 directly.
TEST(RenderFiles, LossyOutputIsMeasuredAsDecoded)
{
    ScratchDirectory scratch;
    // Quiet enough that the decode stays under full scale, which sox cannot pass.
    TestAudio::noise(2, 48000, 48000, 0.4f, SF_FORMAT_WAV | SF_FORMAT_FLOAT).write(scratch.path("in.wav"));
    const nlohmann::json report = renderJson(
        {scratch.path("in.wav"), scratch.path("out.ogg"), "--quality", "0", "--check-ceiling", "-7"});
    const ProcessResult decode = runProcess(
        {"/usr/bin/sox", scratch.path("out.ogg"), "-e", "floating-point", "-b", "32", scratch.path("decoded.wav")});
    ASSERT_EQ(decode.exitCode, 0) << decode.err;
    const std::vector<double> peaks = TestAudio::measure({TestAudio::read(scratch.path("decoded.wav"))}).truePeakDbtp;
    for (size_t channel = 0; channel < 2; ++channel)
    {
        EXPECT_NEAR(report["output"]["true_peak_dbtp"][channel].get<double>(), peaks[channel], 0.02);
    }
    EXPECT_EQ(report["output"]["measured_decoded"], true);
    EXPECT_EQ(report["true_peak_above_ceiling"], std::max(peaks[0], peaks[1]) > -7.0 + 0.005);
    ASSERT_EQ(report["warnings"].size(), report["true_peak_above_ceiling"] ? 1u : 0u);
    EXPECT_NE(report["warnings"][0].get<std::string>().find("encoding lifted"), std::string::npos);
}

// A 997 Hz sine of 3 LSB written to 16 bits. Rounded, its error repeats with
// the sine and lands on its harmonics; with triangular dither the error is
// noise of 1/12 + 2/12 LSB^2 (rounding plus the dither's two uniform parts),
// 0.5 LSB RMS, and no harmonic stands out. Over 48000 samples that noise
// puts about 0.005 LSB in one DFT bin: 56 dB under the sine.
TEST(RenderFiles, ShorterWordLengthIsDitheredUnlessTurnedOff)
{
    ScratchDirectory scratch;
    constexpr double lsb = 1.0 / 32768.0;
    const TestAudio input = TestAudio::sines(2, 48000, 48000, {{997.0, 3.0 * lsb}}, SF_FORMAT_WAV | SF_FORMAT_FLOAT)
                                .write(scratch.path("in.wav"));
    // Option, report, and the ranges of the distortion (dB under the sine)
    // and of the error's RMS (LSB).
    const struct
    {
        const char* option;
        const char* dither;
        double distortion[2];
        double errorRms[2];
    } cases[] = {{"--block=512", "triangular at 16 bits", {-300.0, -45.0}, {0.48, 0.52}},
                 {"--no-dither", "none: rounded to 16 bits (--no-dither)", {-35.0, 0.0}, {0.0, 0.35}}};
    for (const auto& c : cases)
    {
        const nlohmann::json report =
            renderJson({scratch.path("in.wav"), scratch.path("out.wav"), "--bits", "16", c.option});
        EXPECT_EQ(report["dither"], c.dither);
        const TestAudio output = TestAudio::read(scratch.path("out.wav"));
        double harmonic = 0.0;
        for (int n = 2; n <= 9; ++n)
        {
            harmonic = std::max(harmonic, amplitudeAt(output, 997.0 * n));
        }
        const double distortion = 20.0 * std::log10(harmonic / amplitudeAt(output, 997.0));
        double error = 0.0;
        for (size_t i = 0; i < output.samples.size(); ++i)
        {
            error += std::pow((output.samples[i] - input.samples[i]) / lsb, 2.0) / output.samples.size();
        }
        EXPECT_GT(distortion, c.distortion[0]) << c.option;
        EXPECT_LT(distortion, c.distortion[1]) << c.option;
        EXPECT_GT(std::sqrt(error), c.errorRms[0]) << c.option;
        EXPECT_LT(std::sqrt(error), c.errorRms[1]) << c.option;
    }
}

// Text fields survive WAV -> FLAC -> WAV; the broadcast-wave record, which
// FLAC cannot hold, survives WAV -> WAV. A mono file stays mono.
TEST(RenderFiles, MetadataAndMonoAreKept)
{
    ScratchDirectory scratch;
    SF_INFO info = {};
    info.channels = 1;
    info.samplerate = 44100;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_24;
    SNDFILE* file = sf_open(scratch.path("in.wav").c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr);
    const std::pair<int, const char*> fields[] = {{SF_STR_TITLE, "Night Drive"}, {SF_STR_ARTIST, "The Palisades"},
                                                  {SF_STR_ALBUM, "Coastline"},    {SF_STR_DATE, "2026-11-23"},
                                                  {SF_STR_COMMENT, "master 3"}};
    for (const auto& [field, text] : fields)
    {
        sf_set_string(file, field, text);
    }
    SF_BROADCAST_INFO broadcast = {};
    std::snprintf(broadcast.description, sizeof(broadcast.description), "final mix");
    std::snprintf(broadcast.originator_reference, sizeof(broadcast.originator_reference), "GBAYE2600001");
    ASSERT_EQ(sf_command(file, SFC_SET_BROADCAST_INFO, &broadcast, sizeof(broadcast)), SF_TRUE);
    const std::vector<float> samples(4410, 0.25f);
    sf_writef_float(file, samples.data(), 4410);
    sf_close(file);

    renderJson({scratch.path("in.wav"), scratch.path("out.flac")});
    renderJson({scratch.path("out.flac"), scratch.path("back.wav")});
    renderJson({scratch.path("in.wav"), scratch.path("out.wav")});
    for (const char* name : {"out.flac", "back.wav", "out.wav"})
    {
        file = sf_open(scratch.path(name).c_str(), SFM_READ, &info);
        ASSERT_NE(file, nullptr) << name;
        EXPECT_EQ(info.channels, 1) << name;
        for (const auto& [field, text] : fields)
        {
            const char* kept = sf_get_string(file, field);
            EXPECT_STREQ(kept == nullptr ? "" : kept, text) << name;
        }
        SF_BROADCAST_INFO kept = {};
        const bool hasBroadcast = sf_command(file, SFC_GET_BROADCAST_INFO, &kept, sizeof(kept)) == SF_TRUE;
        EXPECT_EQ(hasBroadcast, std::string(name) == "out.wav") << name;
        if (hasBroadcast)
        {
            EXPECT_STREQ(kept.description, "final mix");
            EXPECT_STREQ(kept.originator_reference, "GBAYE2600001");
        }
        sf_close(file);
    }
    // Asked for stereo, the plug-in's two outputs show it got the mono signal on both inputs.
    renderJson({scratch.path("in.wav"), scratch.path("two.wav"), "--stereo", "--no-dither"});
    EXPECT_EQ(TestAudio::read(scratch.path("two.wav")).samples, std::vector<float>(2 * 4410, 0.25f));
}

// A file cut short (its header announces more than it holds) is refused and
// nothing is written, unless accepted, which renders what is there.
TEST(RenderFiles, TruncatedInputIsRefusedUnlessAccepted)
{
    ScratchDirectory scratch;
    for (const int format : {SF_FORMAT_WAV | SF_FORMAT_PCM_16, SF_FORMAT_FLAC | SF_FORMAT_PCM_16})
    {
        const std::string input = scratch.path(format == (SF_FORMAT_WAV | SF_FORMAT_PCM_16) ? "cut.wav" : "cut.flac");
        const std::string output = input + ".out.wav";
        TestAudio::noise(2, 48000, 48000, 0.5f, format).write(input);
        std::filesystem::resize_file(input, std::filesystem::file_size(input) / 2);
        const ProcessResult refused = runPalisorne({"render", input, output, "--plugin", TestModules::delayProbe});
        EXPECT_EQ(refused.exitCode, 1);
        EXPECT_NE(refused.err.find("is truncated: its header announces 48000 frames, it holds "), std::string::npos)
            << refused.err;
        EXPECT_FALSE(std::filesystem::exists(output));
        const nlohmann::json report = renderJson({input, output, "--accept-truncated", "--no-dither"});
        EXPECT_LT(report["output"]["frames"].get<int>(), 48000);
        EXPECT_GT(report["output"]["frames"].get<int>(), 20000);
        EXPECT_EQ(report["warnings"].size(), 1u);
    }
}
