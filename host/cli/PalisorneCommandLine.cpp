#include "PalisorneCommandLine.h"

#include "AudioFileFormat.h"
#include "AudioFileWriter.h"
#include "DemoMix.h"
#include "EditSession.h"
#include "HostError.h"
#include "InfoCommand.h"
#include "InterruptFlag.h"
#include "MasterPass.h"
#include "MasterSession.h"
#include "ProgressBar.h"
#include "RenderRecipe.h"

#include <CLI/CLI.hpp>
#include <sndfile.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace
{
std::string formatted(const char* format, double value)
{
    char text[64];
    std::snprintf(text, sizeof(text), format, value);
    return text;
}
}

PalisorneCommandLine::PalisorneCommandLine(std::ostream& out, std::ostream& err)
    : out(out)
    , err(err)
{
}

int PalisorneCommandLine::run(int argc, const char* const* argv)
{
    CLI::App app("palisorne: renders audio files through a VST2 effect (KW_Palisorne by default) and measures "
                 "loudness and true peak of input and output (ITU-R BS.1770).",
                 "palisorne");
    app.require_subcommand(1);
    app.set_version_flag("--version", std::string("palisorne ") + RenderReport::hostVersion());

    RenderSettings settings;
    bool json = false;
    double ceiling = 0.0;
    CLI::App* renderCommand = app.add_subcommand("render", "Render IN through the plug-in into OUT and report.");
    renderCommand->add_option("IN", settings.inputPath, "Input audio file (mono or stereo); - reads standard input")
        ->required();
    renderCommand
        ->add_option("OUT", settings.outputPath,
                     "Output audio file, written only if the render succeeds; - writes standard output (the report "
                     "then goes to standard error)")
        ->required();
    renderCommand->add_option("--plugin", settings.pluginPath, "VST2 module (default: KW_Palisorne.so)");
    renderCommand->add_option("--program", settings.program, "Program to select, by name or index");
    renderCommand
        ->add_option("--set", settings.unitSettings,
                     "NAME=VALUE in the units the plug-in shows, e.g. \"In gain=6\" (repeatable)")
        ->allow_extra_args(false);
    renderCommand
        ->add_option("--set-norm", settings.normalisedSettings, "NAME=VALUE with VALUE normalised 0..1 (repeatable)")
        ->allow_extra_args(false);
    renderCommand->add_option("--block", settings.blockFrames, "Frames per process call")->capture_default_str();
    renderCommand->add_flag("--keep-latency", settings.keepLatency,
                            "Do not compensate the plug-in's latency: OUT is delayed and longer by it");
    renderCommand->add_option("--format", settings.format,
                              "Output format: " + AudioFileFormat::supportedNames()
                                  + " (default: from OUT's extension)");
    renderCommand->add_option("--bits", settings.bits, "Output samples: 16, 24 or 32f (default: as IN)")
        ->check(CLI::IsMember({"16", "24", "32f"}));
    renderCommand->add_option("--quality", settings.quality, "Quality of ogg, opus and mp3, 0 (smallest) to 10 (best)")
        ->check(CLI::Range(0.0, 10.0));
    renderCommand->add_flag("--no-dither", settings.noDither,
                            "Round instead of adding triangular dither when OUT holds shorter integers");
    renderCommand->add_flag("--stereo", settings.stereo, "Write a mono input as stereo (default: mono stays mono)");
    renderCommand->add_flag("--accept-truncated", settings.acceptTruncated,
                            "Render an input that holds less audio than its header announces");
    CLI::Option* ceilingOption = renderCommand->add_option(
        "--check-ceiling", ceiling,
        "Ceiling in dB the output's true peak is checked against; it changes nothing in the plug-in (default: the "
        "limiter's Outceil when it is ours)");
    renderCommand->add_flag("--json", json, "Print the report as JSON");
    bool strict = false;
    renderCommand->add_flag("--strict", strict, "Exit with 3 when the output's true peak lies above the ceiling");
    std::string recipe;
    renderCommand->add_option("--from-report", recipe,
                              "Render with the plug-in, program, parameter values and output settings a JSON report "
                              "recorded (options given as well apply after it)");

    std::string infoPlugin;
    double infoRate = 48000.0;
    CLI::App* infoCommand =
        app.add_subcommand("info", "Show the plug-in's identity, latency, parameters and programs.");
    infoCommand->add_option("--plugin", infoPlugin, "VST2 module (default: KW_Palisorne.so)");
    infoCommand->add_option("--rate", infoRate, "Sample rate to start the plug-in at")->capture_default_str();
    bool infoJson = false;
    infoCommand->add_flag("--json", infoJson, "Print as JSON");

    BenchSettings benchSettings;
    CLI::App* benchCommand = app.add_subcommand(
        "bench", "Real-time factor of one or more plug-ins on the same generated material (median of passes).");
    benchCommand->add_option("--plugin", benchSettings.plugins, "VST2 module (repeatable; default: KW_Palisorne.so)")
        ->allow_extra_args(false);
    benchCommand
        ->add_option("--program", benchSettings.programs,
                     "N:PROGRAM for the N-th --plugin (from 1), by name or index (repeatable)")
        ->allow_extra_args(false);
    benchCommand
        ->add_option("--set", benchSettings.unitSettings,
                     "N:NAME=VALUE for the N-th --plugin, in the units it shows, e.g. \"2:th=-1\" (repeatable)")
        ->allow_extra_args(false);
    benchCommand
        ->add_option("--set-norm", benchSettings.normalisedSettings,
                     "N:NAME=VALUE for the N-th --plugin, VALUE normalised 0..1 (repeatable)")
        ->allow_extra_args(false);
    benchCommand->add_option("--seconds", benchSettings.seconds, "Length of the material")->capture_default_str();
    benchCommand->add_option("--rate", benchSettings.sampleRate, "Sample rate")->capture_default_str();
    benchCommand->add_option("--block", benchSettings.blockFrames, "Frames per process call")->capture_default_str();
    benchCommand->add_option("--passes", benchSettings.passes, "Passes per plug-in")->capture_default_str();
    benchCommand
        ->add_option("--gain", benchSettings.gainDb, "Level change of the material in dB, the same for every plug-in")
        ->capture_default_str();
    benchCommand->add_flag("--json", benchSettings.json, "Print the results as JSON");

    std::string demoPlugin;
    std::string demoDirectory = ".";
    bool demoJson = false;
    CLI::App* demoCommand =
        app.add_subcommand("demo", std::string("Render a generated demo mix through program \"") + demoProgram
                                       + "\" with +6 dB input gain and report (writes two WAV files).");
    demoCommand->add_option("--plugin", demoPlugin, "VST2 module (default: KW_Palisorne.so)");
    demoCommand->add_option("--dir", demoDirectory, "Directory for the two files")->capture_default_str();
    demoCommand->add_flag("--json", demoJson, "Print the report as JSON");

    EditSettings editSettings;
    CLI::App* editCommand = EditSession::addCommand(app, editSettings);
    MasterSettings masterSettings;
    CLI::App* masterCommand = MasterSession::addCommand(app, masterSettings);
    MasterPassRequest passRequest;
    CLI::App* passCommand = MasterPass::addCommand(app, passRequest);

    // CLI11 would only say that a command is required.
    if (argc > 1 && argv[1][0] != '-')
    {
        std::string names;
        bool known = false;
        for (const CLI::App* command : app.get_subcommands({}))
        {
            known = known || command->check_name(argv[1]);
            names += (names.empty() ? "" : ", ") + command->get_name();
        }
        if (!known)
        {
            err << "palisorne: error: unknown command '" << argv[1] << "'; the commands are " << names << "\n";
            return 2;
        }
    }
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::CallForVersion&)
    {
        out << app.version() << "\n";
        return 0;
    }
    catch (const CLI::CallForHelp&)
    {
        out << (app.get_subcommands().empty() ? app.help() : app.get_subcommands().front()->help());
        return 0;
    }
    catch (const CLI::ParseError& error)
    {
        err << "palisorne: error: " << error.what() << " (see palisorne --help)\n";
        return 2;
    }

    InterruptFlag::install();
    try
    {
        if (renderCommand->parsed())
        {
            if (ceilingOption->count() > 0)
            {
                settings.ceilingDb = ceiling;
            }
            if (!recipe.empty())
            {
                RenderRecipe::load(recipe, settings);
            }
            return render(settings, json, strict);
        }
        if (infoCommand->parsed())
        {
            return InfoCommand::run(out, infoPlugin, infoRate, infoJson);
        }
        if (editCommand->parsed())
        {
            return EditSession(out, err).run(editSettings);
        }
        if (masterCommand->parsed())
        {
            return MasterSession(out, err).run(masterSettings);
        }
        if (passCommand->parsed())
        {
            MasterPass::run(passRequest, STDOUT_FILENO);
            return 0;
        }
        if (benchCommand->parsed())
        {
            return BenchCommand::run(out, benchSettings);
        }
        return demo(demoPlugin, demoDirectory, demoJson);
    }
    catch (const HostError& error)
    {
        err << "palisorne: error: " << error.what() << "\n";
        return 1;
    }
}

int PalisorneCommandLine::render(const RenderSettings& settings, bool json, bool strict)
{
    ProgressBar progress(STDERR_FILENO);
    // Audio on standard output leaves no room for the report there.
    std::ostream& reportStream = AudioFileWriter::namesStandardOutput(settings.outputPath) ? err : out;
    const RenderReport report = Renderer(settings).run(&progress);
    if (json)
    {
        report.printJson(reportStream);
    }
    else
    {
        report.printText(reportStream);
    }
    for (const std::string& warning : report.warnings)
    {
        err << "palisorne: warning: " << warning << "\n";
    }
    return strict && report.truePeakAboveCeiling() ? 3 : 0;
}

int PalisorneCommandLine::demo(const std::string& pluginPath, const std::string& directory, bool json)
{
    const std::string mixPath = directory + "/palisorne-demo-mix.wav";
    {
        const std::vector<float> mix = DemoMix(demoSampleRate).render(demoSeconds);
        AudioFileWriter writer(mixPath, SF_FORMAT_WAV | SF_FORMAT_PCM_24, 2, demoSampleRate);
        writer.write(mix.data(), mix.size() / 2);
        writer.commit();
    }
    RenderSettings settings;
    settings.inputPath = mixPath;
    settings.outputPath = directory + "/palisorne-demo-limited.wav";
    settings.pluginPath = pluginPath;
    settings.program = demoProgram;
    settings.unitSettings.push_back(demoInputGain);
    if (!json)
    {
        out << "demo: " << formatted("%.0f", demoSeconds) << " s of generated drums, bass and chords through \""
            << demoProgram << "\" with +6 dB input gain\n";
    }
    return render(settings, json, false);
}
