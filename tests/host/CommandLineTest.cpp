#include "ScratchDirectory.h"
#include "TestAudio.h"
#include "TestModules.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sndfile.h>

#include <algorithm>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr int floatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;

// A scratch directory with a stereo input and an existing output that a
// failed render must leave as it was.
struct RenderScene
{
    ScratchDirectory scratch;
    std::string input = scratch.path("in.wav");
    std::string output = scratch.path("out.wav");
    std::string previousOutput = "an earlier render";
    // What the directory must hold after a failure: no temporary file.
    std::vector<std::string> files = {"in.wav", "out.wav"};

    RenderScene()
    {
        TestAudio::noise(2, 48000, 48000, 0.5f, floatWav).write(input);
        std::ofstream(output) << previousOutput;
    }

    std::string addInput(const std::string& name, int channels, size_t frames)
    {
        TestAudio::noise(channels, 48000, frames, 0.5f, floatWav).write(scratch.path(name));
        files.insert(std::upper_bound(files.begin(), files.end(), name), name);
        return scratch.path(name);
    }

    // A render of `from` into the output through `plugin`, and more.
    std::vector<std::string> render(const std::string& from, const std::string& plugin,
                                    const std::vector<std::string>& more = {}) const
    {
        return joined({"render", from, output, "--plugin", plugin}, more);
    }

    std::vector<std::string> probeRender(const std::vector<std::string>& more = {}) const
    {
        return render(input, TestModules::delayProbe, more);
    }

    // Runs palisorne and checks the marks of a clean failure: the exit
    // code, one line on stderr naming the problem, the old output intact and
    // no temporary file left.
    void expectCleanFailure(const std::vector<std::string>& arguments, const std::string& reason, int exitCode = 1)
    {
        const ProcessResult run = runPalisorne(arguments);
        EXPECT_EQ(run.exitCode, exitCode) << reason;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_EQ(run.err.rfind("palisorne: error: ", 0), 0u) << run.err;
        EXPECT_NE(run.err.find(reason), std::string::npos) << run.err;
        EXPECT_EQ(ScratchDirectory::contentsOf(output), previousOutput);
        EXPECT_EQ(scratch.entries(), files);
    }
};
}

TEST(CommandLineErrors, BadInputFiles)
{
    RenderScene scene;
    const std::string probe = TestModules::delayProbe;
    scene.expectCleanFailure(scene.render(scene.scratch.path("missing.wav"), probe), "No such file or directory");
    scene.expectCleanFailure(scene.render(scene.scratch.root(), probe), "is a directory");
    scene.expectCleanFailure(scene.render("/proc/self/status", probe), "as audio");
    scene.expectCleanFailure({"render", scene.input, scene.scratch.root() + "/./in.wav", "--plugin", probe},
                             "is the input file");
    scene.expectCleanFailure({"render", scene.input, scene.scratch.root(), "--plugin", probe}, "is a directory; name");
    scene.expectCleanFailure(scene.render(scene.input, probe, {"--block", "0"}), "--block must lie between 1 and");
    const std::string surround = scene.addInput("surround.wav", 6, 480);
    scene.expectCleanFailure(scene.render(surround, probe),
                             "'" + surround + "' has 6 channels; palisorne renders mono and stereo files only\n");
    // Permissions do not stop root, so this case needs an ordinary user.
    if (::geteuid() != 0)
    {
        const std::string locked = scene.addInput("locked.wav", 2, 100);
        ::chmod(locked.c_str(), 0);
        scene.expectCleanFailure(scene.render(locked, probe), "Permission denied");
    }
}

// Commands, options, modules and names that cannot be used: each fails cleanly
// with its reason (exit code 2 for what the parser refuses).
TEST(CommandLineErrors, ArgumentsModulesAndNamesThatCannotBeUsed)
{
    RenderScene scene;
    const std::string probe = TestModules::delayProbe;
    const struct
    {
        std::vector<std::string> arguments;
        std::string reason;
        int exitCode;
    } cases[] = {
        {{"mix", "a.wav"}, "unknown command 'mix'; the commands are render, info, bench, demo", 2},
        {{}, "", 2},
        {{"render", scene.input}, "OUT is required", 2},
        {scene.probeRender({"--bits", "8"}), "--bits", 2},
        {scene.render(scene.input, TestModules::notAPlugin), "is not a VST 2 plug-in", 1},
        {scene.render(scene.input, scene.scratch.path("none.so")), "cannot load plug-in", 1},
        {scene.probeRender({"--set", "Gain=30"}), "out of range", 1},
        {scene.probeRender({"--program", "Loudest"}), "unknown program 'Loudest'", 1},
        {scene.probeRender({"--program", "7"}), "program 7 does not exist", 1},
    };
    for (const auto& c : cases)
    {
        scene.expectCleanFailure(c.arguments, c.reason, c.exitCode);
    }
    const ProcessResult help = runPalisorne({"render", "--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_NE(help.out.find("--keep-latency"), std::string::npos);
}

// A render that fails while writing (here: the file size limit is hit) must
// remove its temporary file and leave the old output untouched.
TEST(CommandLineErrors, FailureWhileWritingLeavesNoTrace)
{
    RenderScene scene;
    const std::string large = scene.addInput("large.wav", 2, 48000 * 2);
    const std::string command = "trap '' XFSZ; ulimit -f 64; exec '" + std::string(PALISORNE_EXECUTABLE) + "' render '"
                                + large + "' '" + scene.output + "' --plugin '" + TestModules::delayProbe + "'";
    const ProcessResult run = runProcess({"/bin/sh", "-c", command});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err.rfind("palisorne: error: cannot write '" + scene.output + "'", 0), 0u) << run.err;
    EXPECT_EQ(ScratchDirectory::contentsOf(scene.output), scene.previousOutput);
    EXPECT_EQ(scene.scratch.entries(), scene.files);
}

// Where the output goes: a link's target, replaced in its own directory; a
// pipe or FIFO, written as a stream; "-" both ways. Nothing else is created.
TEST(CommandLineFiles, LinksPipesFifosAndStandardStreams)
{
    RenderScene scene;
    ScratchDirectory& scratch = scene.scratch;
    const TestAudio input = TestAudio::read(scene.input);
    const std::string flac = scene.addInput("in.flac", 2, 0);
    TestAudio::noise(2, 48000, 30000, 0.5f, SF_FORMAT_FLAC | SF_FORMAT_PCM_24).write(flac);
    const std::string shell = "'" + std::string(PALISORNE_EXECUTABLE) + "' render --plugin '" + TestModules::delayProbe
                              + "' --no-dither ";
    ASSERT_EQ(::mkdir(scratch.path("real").c_str(), 0755), 0);
    std::ofstream(scratch.path("real/target.wav")) << "old";
    ASSERT_EQ(::symlink("real/target.wav", scratch.path("link.wav").c_str()), 0);
    ASSERT_EQ(::mkfifo(scratch.path("fifo").c_str(), 0644), 0);
    const ProcessResult run = runProcess(
        {"/bin/sh", "-c",
         "cd '" + scratch.root() + "' && " + shell + "in.wav link.wav && " + shell
             + "in.wav /dev/stdout --format wav | cat > piped.wav && cat in.flac | " + shell
             + "- - --format flac --json | cat > streamed.flac && { cat fifo > fromfifo.wav & " + shell
             + "in.wav fifo --format wav > /dev/null; wait; }"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    struct stat link;
    ASSERT_EQ(::lstat(scratch.path("link.wav").c_str(), &link), 0);
    EXPECT_TRUE(S_ISLNK(link.st_mode));
    EXPECT_EQ(TestAudio::read(scratch.path("real/target.wav")).samples, input.samples);
    EXPECT_EQ(TestAudio::read(scratch.path("piped.wav")).samples, input.samples);
    EXPECT_EQ(TestAudio::read(scratch.path("streamed.flac")).samples, TestAudio::read(flac).samples);
    // The report moves to stderr when the audio takes stdout.
    EXPECT_NE(run.err.find("latency   100 samples"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("\"path\": \"-\""), std::string::npos) << run.err;
    EXPECT_EQ(TestAudio::read(scratch.path("fromfifo.wav")).samples, input.samples);
    EXPECT_EQ(scratch.entries(), (std::vector<std::string>{"fifo", "fromfifo.wav", "in.flac", "in.wav", "link.wav",
                                                           "out.wav", "piped.wav", "real", "streamed.flac"}));
}

TEST(CommandLineRender, TextAndJsonReportsAndNoProgressWhenQuick)
{
    RenderScene scene;
    const ProcessResult run = runPalisorne(scene.probeRender({"--set", "Delay=321"}));
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_NE(run.out.find("latency   321 samples, compensated"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("set       Delay = 321 smp"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("true peak R"), std::string::npos) << run.out;

    const nlohmann::json report =
        nlohmann::json::parse(runPalisorne(scene.probeRender({"--program", "2", "--json"})).out);
    EXPECT_EQ(report["plugin"]["program"], "Loud +6 dB");
    EXPECT_EQ(report["input"]["frames"], 48000);
    // The probe's program adds exactly 6 dB; peaks are measured on floats.
    // A louder output counts as no reduction.
    EXPECT_NEAR(report["output"]["sample_peak_dbfs"][1].get<double>()
                    - report["input"]["sample_peak_dbfs"][1].get<double>(),
                6.0, 1e-4);
    EXPECT_EQ(report["gain_reduction_db"]["largest"], nlohmann::json::array({0.0, 0.0}));
}

TEST(CommandLineInfo, IdentityLatencyParametersAndPrograms)
{
    const ProcessResult run = runPalisorne({"info", "--plugin", TestModules::delayProbe});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find("name        DelayProbe"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("unique ID   'DPRB' (0x44505242)"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("latency     100 samples"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("Gain                     +0.0 dB"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("Mode                      Off"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("*  0  Unity"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("   2  Loud +6 dB"), std::string::npos) << run.out;
    const nlohmann::json info = nlohmann::json::parse(
        runPalisorne({"info", "--plugin", TestModules::delayProbe, "--json"}).out);
    EXPECT_EQ(info["parameters"][0]["lowest"], "-24.0");
    EXPECT_EQ(info["parameters"][0]["highest"], "+24.0");
    EXPECT_EQ(info["parameters"][4]["value_texts"], nlohmann::json::array({"Off", "On"}));
}

// The probe reports its Delay setting as its latency: the second copy must
// show the value set for it, the first its default of 100.
TEST(CommandLineBench, TimesEveryPluginAndSettingsGoToTheNamedOne)
{
    const ProcessResult run = runPalisorne({"bench", "--seconds", "0.2", "--passes", "2", "--gain", "-6", "--plugin",
                                            TestModules::delayProbe, "--plugin", TestModules::delayProbe, "--program",
                                            "1:Loud +6 dB", "--set", "2:Delay=250", "--set-norm", "2:Mode=1", "--json"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const nlohmann::json bench = nlohmann::json::parse(run.out);
    EXPECT_EQ(bench["gain_db"], -6.0);
    ASSERT_EQ(bench["plugins"].size(), 2u);
    EXPECT_EQ(bench["plugins"][0]["latency_samples"], 100);
    EXPECT_EQ(bench["plugins"][1]["latency_samples"], 250);
    EXPECT_EQ(bench["plugins"][1]["real_time_factors"].size(), 2u);
    EXPECT_GT(bench["plugins"][1]["median_real_time_factor"].get<double>(), 1.0);

    for (const char* wrong : {"3:Delay=250", "Delay=250", "0:Delay=250"})
    {
        const ProcessResult refused = runPalisorne(
            {"bench", "--seconds", "0.2", "--passes", "1", "--plugin", TestModules::delayProbe, "--plugin",
             TestModules::delayProbe, "--set", wrong});
        EXPECT_EQ(refused.exitCode, 1) << wrong;
        EXPECT_NE(refused.err.find("N from 1 to the number of plug-ins (2)"), std::string::npos) << refused.err;
    }
}

// Names in any case or cut short, values with their units or as on/off; the
// full name of a program the plug-in shows cut to 24 characters.
TEST(CommandLineOurs, NamesAndValuesAsAPersonTypesThem)
{
    SKIP_WITHOUT_MODULE(TestModules::ours);
    RenderScene scene;
    scene.expectCleanFailure(scene.render(scene.input, TestModules::ours, {"--set", "l=1"}),
                             "the parameter 'l' is ambiguous: it begins Lookahd, Link");
    scene.expectCleanFailure(scene.render(scene.input, TestModules::ours, {"--program", "20"}),
                             "program 20 is an empty slot ('Program 20')");
    EXPECT_EQ(runPalisorne(scene.render(scene.input, TestModules::ours, {"--program", "Program 20"}))
                  .exitCode,
              0);
    const ProcessResult run = runPalisorne(
        scene.render(scene.input, TestModules::ours,
                     {"--program", "+10 dB TRUE peak headroom", "--set", "att=20ms", "--set", "lookahd=1.5 ms", "--set",
                      "Link=40%", "--set", "isp=off", "--set", "outceil=-1dB", "--set-norm", "AES17=on"}));
    ASSERT_EQ(run.exitCode, 0) << run.err;
    for (const char* line : {"program   +10 dB true peak headroo (10)\n", "Attack = 0.0200 s\n", "Lookahd = 0.0015 s\n",
                             "Link = 40 %\n", "ISP = 0.0\n", "Outceil = -1.0 dB\n", "AES17 = 1\n"})
    {
        EXPECT_NE(run.out.find(line), std::string::npos) << line << " in\n" << run.out;
    }
}

// The JSON report holds everything a render depends on: rendering from it
// again gives the same bytes, dither included.
TEST(CommandLineOurs, JsonReportReproducesTheRenderBitForBit)
{
    SKIP_WITHOUT_MODULE(TestModules::ours);
    RenderScene scene;
    const std::string first = scene.scratch.path("first.wav");
    const ProcessResult run = runPalisorne(
        {"render", scene.input, first, "--program", "EBU R128 -1 dBTP", "--set", "In gain=9", "--set", "NumBits=2",
         "--bits", "24", "--block", "300", "--json"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const nlohmann::json report = nlohmann::json::parse(run.out);
    EXPECT_EQ("palisorne " + report["render"]["host_version"].get<std::string>() + "\n",
              runPalisorne({"--version"}).out);
    EXPECT_EQ(report["plugin"]["program_index"], 3);
    ASSERT_EQ(report["plugin"]["parameters"].size(), 13u);
    std::ofstream(scene.scratch.path("report.json")) << run.out;
    const ProcessResult again = runPalisorne(
        {"render", scene.input, scene.output, "--from-report", scene.scratch.path("report.json")});
    ASSERT_EQ(again.exitCode, 0) << again.err;
    EXPECT_EQ(ScratchDirectory::contentsOf(scene.output), ScratchDirectory::contentsOf(first));
    // +9 dB into a -1 dB ceiling checked against -6 dB: --strict fails the run, the file is written.
    EXPECT_EQ(runPalisorne({"render", scene.input, scene.output, "--from-report",
                                     scene.scratch.path("report.json"), "--check-ceiling", "-6", "--strict"})
                  .exitCode,
              3);
}

TEST(CommandLineOurs, DemoRendersTheGeneratedMixAndReports)
{
    SKIP_WITHOUT_MODULE(TestModules::ours);
    ScratchDirectory scratch;
    const ProcessResult run = runPalisorne(
        {"demo", "--dir", scratch.root(), "--plugin", TestModules::ours, "--json"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const nlohmann::json report = nlohmann::json::parse(run.out);
    EXPECT_EQ(report["plugin"]["program"], "EBU R128 -1 dBTP");
    ASSERT_EQ(report["plugin"]["settings"].size(), 1u);
    EXPECT_EQ(report["plugin"]["settings"][0]["display"], "+6.0 dB");
    EXPECT_EQ(report["input"]["frames"], 8 * 48000);
    EXPECT_EQ(report["output"]["frames"], 8 * 48000);
    EXPECT_EQ(report["ceiling_db"], -1.0);
    EXPECT_EQ(scratch.entries(), (std::vector<std::string>{"palisorne-demo-limited.wav", "palisorne-demo-mix.wav"}));
}
