#include "ScratchDirectory.h"
#include "TestAudio.h"
#include "TestModules.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sndfile.h>

#include <cmath>

namespace
{
constexpr int pcm24Wav = SF_FORMAT_WAV | SF_FORMAT_PCM_24;
constexpr double target = -14.0;
constexpr double peakTarget = -1.0;
// The search stops within 0.05 LU of the target; the guarantee is 0.1.
constexpr double loudnessTolerance = 0.1;

// Targets by default -14 LUFS and -1 dBTP.
// Two 8 s tracks far from the target on either side: quiet noise that needs
// about +17 dB, and loud tones with a high partial (inter-sample peaks) that
// need less gain and hard limiting.
struct MasterScene
{
    ScratchDirectory scratch;
    std::string quiet = scratch.path("quiet.wav");
    std::string loud = scratch.path("loud.wav");

    MasterScene()
    {
        TestAudio::noise(2, 48000, 8 * 48000, 0.05f, pcm24Wav).write(quiet);
        TestAudio::sines(2, 48000, 8 * 48000, {{55.0, 0.5}, {997.0, 0.3}, {11990.0, 0.2}}, pcm24Wav).write(loud);
    }

    ProcessResult master(const std::vector<std::string>& more) const
    {
        return runPalisorne(joined({"master", "--json"}, more));
    }
};

void expectOnTarget(const TestAudio::Measured& measured)
{
    EXPECT_NEAR(measured.lufs, target, loudnessTolerance);
    for (double peak : measured.truePeakDbtp)
    {
        EXPECT_LE(peak, peakTarget);
    }
}
}

// Per file, in parallel and one at a time, with 16-bit dither (whose noise
// generator the plug-in shares between its instances): each file meets both
// targets by an independent measurement, the bits do not depend on --jobs,
// and the render command of the report gives the same bits again.
TEST(Master, EachFileMeetsTheTargetsWithBitsIndependentOfJobs)
{
    SKIP_WITHOUT_MODULE(TestModules::ours);
    const MasterScene scene;
    const ProcessResult parallel = scene.master({scene.quiet, scene.loud, "--out-dir", scene.scratch.path("two"), "--jobs",
                                              "2", "--plot", "--set", "NumBits=2"});
    ASSERT_EQ(parallel.exitCode, 0) << parallel.err;
    const ProcessResult serial = scene.master(
        {scene.quiet, scene.loud, "--out-dir", scene.scratch.path("one"), "--jobs", "1", "--set", "NumBits=2"});
    ASSERT_EQ(serial.exitCode, 0) << serial.err;
    const nlohmann::json report = nlohmann::json::parse(serial.out);
    ASSERT_EQ(report["searches"].size(), 2u);
    for (const char* name : {"quiet.wav", "loud.wav"})
    {
        const TestAudio output = TestAudio::read(scene.scratch.path("one/") + name);
        SCOPED_TRACE(name);
        expectOnTarget(TestAudio::measure({output}));
        EXPECT_EQ(output.samples, TestAudio::read(scene.scratch.path("two/") + name).samples);
    }
    EXPECT_EQ(ScratchDirectory::contentsOf(scene.scratch.path("two/loud.png")).substr(1, 3), "PNG");

    std::string command = report["searches"][1]["files"][0]["render_command"];
    command.replace(command.find("palisorne "), 9, PALISORNE_EXECUTABLE);
    command.replace(command.find(scene.scratch.path("one/loud.wav")), scene.scratch.path("one/loud.wav").size(),
                    scene.scratch.path("again.wav"));
    ASSERT_EQ(runProcess({"/bin/sh", "-c", command}).exitCode, 0);
    EXPECT_EQ(TestAudio::read(scene.scratch.path("again.wav")).samples,
              TestAudio::read(scene.scratch.path("one/loud.wav")).samples);
}

// One gain and one ceiling for the album, whose loudness gated over all its
// tracks together meets the target.
TEST(Master, AlbumSharesSettingsAndMeetsTheTargetsTogether)
{
    SKIP_WITHOUT_MODULE(TestModules::ours);
    const MasterScene scene;
    const ProcessResult run = scene.master({scene.quiet, scene.loud, "--album", "--out-dir", scene.scratch.path("album")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const nlohmann::json report = nlohmann::json::parse(run.out);
    ASSERT_EQ(report["searches"].size(), 1u);
    const nlohmann::json& files = report["searches"][0]["files"];
    ASSERT_EQ(files.size(), 2u);
    const std::string first = files[0]["render_command"];
    const std::string second = files[1]["render_command"];
    EXPECT_EQ(first.substr(first.find("--plugin")), second.substr(second.find("--plugin")));

    const TestAudio::Measured album = TestAudio::measure({TestAudio::read(scene.scratch.path("album/quiet.wav")),
                                    TestAudio::read(scene.scratch.path("album/loud.wav"))});
    expectOnTarget(album);
    EXPECT_NEAR(report["searches"][0]["output_integrated_lufs"].get<double>(), album.lufs, 0.01);
}

TEST(Master, ImpossibleTargetsAreRefusedWithNothingWritten)
{
    SKIP_WITHOUT_MODULE(TestModules::ours);
    const MasterScene scene;
    const struct
    {
        std::vector<std::string> arguments;
        const char* reason;
    } cases[] = {
        {{scene.quiet, "--loudness", "-1"}, "largest input gain"},
        {{scene.loud, "--true-peak", "-20"}, "below its lowest setting"},
        {{scene.loud, "--loudness", "-6", "--max-reduction", "1"}, "--max-reduction"},
    };
    for (const auto& impossible : cases)
    {
        const ProcessResult run = scene.master(joined(impossible.arguments, {"--out-dir", scene.scratch.path("out")}));
        SCOPED_TRACE(impossible.reason);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_NE(run.err.find(impossible.reason), std::string::npos) << run.err;
        EXPECT_NE(run.err.find("nothing written"), std::string::npos) << run.err;
        EXPECT_EQ(ScratchDirectory::contentsOf(scene.scratch.path("out/quiet.wav")), "");
        EXPECT_EQ(ScratchDirectory::contentsOf(scene.scratch.path("out/loud.wav")), "");
    }
    EXPECT_EQ(scene.scratch.entries(), (std::vector<std::string>{"loud.wav", "out", "quiet.wav"}));
}

TEST(Master, LossyOutputMeetsTheTargetsAfterDecoding)
{
    SKIP_WITHOUT_MODULE(TestModules::ours);
    const MasterScene scene;
    const ProcessResult run = scene.master({scene.loud, "-o", scene.scratch.path("loud.ogg")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    expectOnTarget(TestAudio::measure({TestAudio::read(scene.scratch.path("loud.ogg"))}));
}
