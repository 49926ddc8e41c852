#include "PalisorneCommandLine.h"

#include "AudioFileFormat.h"
#include "AudioFileWriter.h"
#include "DemoMix.h"
#include "EditSession.h"
#include "HostError.h"
#include "HostedPlugin.h"
#include "InterruptFlag.h"
#include "NameMatch.h"
#include "PluginLocator.h"
#include "ProgressBar.h"
#include "RealTimeBenchmark.h"

#include <CLI/CLI.hpp>
#include <sndfile.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace
{
std::string categoryName(VstInt32 category)
{
    static const char* const names[] = {"unknown", "effect",   "synth",       "analysis", "mastering", "spatialiser",
                                        "room",    "surround", "restoration", "offline",  "shell",     "generator"};
    if (category >= 0 && category < static_cast<VstInt32>(sizeof(names) / sizeof(names[0])))
    {
        return names[category];
    }
    return "category " + std::to_string(category);
}

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
                              "Output format: " + AudioFileFormat::supportedNames() + " (default: from OUT's extension)");
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

    std::string infoPlugin;
    double infoRate = 48000.0;
    CLI::App* infoCommand =
        app.add_subcommand("info", "Show the plug-in's identity, latency, parameters and programs.");
    infoCommand->add_option("--plugin", infoPlugin, "VST2 module (default: KW_Palisorne.so)");
    infoCommand->add_option("--rate", infoRate, "Sample rate to start the plug-in at")->capture_default_str();

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
            return render(settings, json);
        }
        if (infoCommand->parsed())
        {
            return info(infoPlugin, infoRate);
        }
        if (editCommand->parsed())
        {
            return EditSession(out, err).run(editSettings);
        }
        if (benchCommand->parsed())
        {
            return bench(benchSettings);
        }
        return demo(demoPlugin, demoDirectory, demoJson);
    }
    catch (const HostError& error)
    {
        err << "palisorne: error: " << error.what() << "\n";
        return 1;
    }
}

int PalisorneCommandLine::render(const RenderSettings& settings, bool json)
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
    return 0;
}

int PalisorneCommandLine::info(const std::string& pluginPath, double sampleRate)
{
    if (!(sampleRate >= 1000.0 && sampleRate <= 1e6))
    {
        throw HostError("--rate must lie between 1000 and 1000000 Hz");
    }
    HostedPlugin plugin(pluginPath.empty() ? PluginLocator::findDefault() : pluginPath);
    VstModule& module = plugin.module();
    plugin.start(sampleRate, 512);

    const std::string id = plugin.uniqueIdText();
    out << "module      " << module.path() << "\n";
    out << "name        " << module.effectName() << "\n";
    out << "vendor      " << module.vendorString() << "\n";
    out << "product     " << module.productString() << "\n";
    out << "version     " << module.vendorVersion() << " (VST " << module.vstVersion() << ")\n";
    char hexId[16];
    std::snprintf(hexId, sizeof(hexId), "0x%08X", static_cast<unsigned>(module.uniqueId()));
    out << "unique ID   " << (id.empty() ? "" : "'" + id + "' ") << "(" << hexId << ")"
        << (plugin.isOurs() ? ", ours" : "") << "\n";
    out << "category    " << categoryName(module.plugCategory()) << "\n";
    out << "channels    " << module.numInputs() << " in, " << module.numOutputs() << " out\n";
    out << "latency     " << module.initialDelay() << " samples (started at " << formatted("%g", sampleRate)
        << " Hz)\n";
    out << "editor      " << ((module.flags() & effFlagsHasEditor) != 0 ? "yes" : "no") << "\n";

    out << "parameters  " << module.numParams() << "\n";
    for (int index = 0; index < module.numParams(); ++index)
    {
        const std::string label = NameMatch::trimmed(module.parameterLabel(index));
        char line[256];
        std::snprintf(line, sizeof(line), "  %3d  %-16s %12s %-6s (%.4f)\n", index,
                      NameMatch::trimmed(module.parameterName(index)).c_str(),
                      NameMatch::trimmed(module.parameterDisplay(index)).c_str(), label.c_str(),
                      static_cast<double>(module.getParameter(index)));
        out << line;
    }
    const int current = module.program();
    out << "programs    " << module.numPrograms() << " (current: " << current << ")\n";
    for (int index = 0; index < module.numPrograms(); ++index)
    {
        char line[128];
        std::snprintf(line, sizeof(line), "  %c%3d  %s\n", index == current ? '*' : ' ', index,
                      plugin.programNameAt(index).c_str());
        out << line;
    }
    return 0;
}

int PalisorneCommandLine::bench(const BenchSettings& settings)
{
    std::vector<BenchmarkContender> contenders;
    for (const std::string& path : settings.plugins)
    {
        contenders.push_back({path, "", {}, {}});
    }
    if (contenders.empty())
    {
        contenders.push_back({PluginLocator::findDefault(), "", {}, {}});
    }
    // "N:TEXT" names the N-th plug-in; returns it and TEXT.
    auto target = [&contenders](const char* option, const std::string& text) {
        const size_t colon = text.find(':');
        char* end = nullptr;
        const long which = colon == std::string::npos ? 0 : std::strtol(text.c_str(), &end, 10);
        if (colon == std::string::npos || end != text.c_str() + colon || which < 1
            || which > static_cast<long>(contenders.size()))
        {
            throw HostError(std::string(option) + " '" + text + "': expected N:..., N from 1 to the number of plug-ins ("
                            + std::to_string(contenders.size()) + ")");
        }
        return std::make_pair(&contenders[static_cast<size_t>(which - 1)], text.substr(colon + 1));
    };
    for (const std::string& text : settings.programs)
    {
        const auto [contender, program] = target("--program", text);
        contender->program = program;
    }
    for (const std::string& text : settings.unitSettings)
    {
        const auto [contender, setting] = target("--set", text);
        contender->unitSettings.push_back(setting);
    }
    for (const std::string& text : settings.normalisedSettings)
    {
        const auto [contender, setting] = target("--set-norm", text);
        contender->normalisedSettings.push_back(setting);
    }

    const RealTimeBenchmark benchmark(settings.seconds, settings.sampleRate, settings.blockFrames, settings.passes,
                                      settings.gainDb);
    const std::vector<BenchmarkResult> results = benchmark.run(contenders);
    out << "material: generated demo mix" << (settings.gainDb != 0.0 ? formatted(" %+.1f dB", settings.gainDb) : "")
        << ", " << formatted("%.1f", settings.seconds) << " s stereo at " << settings.sampleRate << " Hz, blocks of "
        << settings.blockFrames << " frames, " << settings.passes << " passes; process calls timed only\n";
    char line[512];
    std::snprintf(line, sizeof(line), "%-24s %8s %14s %21s  %s\n", "plug-in", "latency", "x real time",
                  "passes (min..max)", "module");
    out << line;
    for (const BenchmarkResult& result : results)
    {
        const auto range = std::minmax_element(result.realTimeFactors.begin(), result.realTimeFactors.end());
        const std::string spread = formatted("%.1f", *range.first) + ".." + formatted("%.1f", *range.second);
        std::snprintf(line, sizeof(line), "%-24s %8d %14.1f %21s  %s\n", result.name.c_str(), result.latencyFrames,
                      result.median, spread.c_str(), result.path.c_str());
        out << line;
    }
    return 0;
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
    return render(settings, json);
}
