#include "MasterSession.h"

#include "AudioFileReader.h"
#include "HostError.h"
#include "HostedPlugin.h"
#include "MasterJobs.h"
#include "MasterPlot.h"
#include "MasterReport.h"
#include "ParameterSetting.h"
#include "PluginLocator.h"
#include "WorkingDirectory.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <set>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace
{
constexpr const char* gainName = "In gain";
constexpr const char* ceilingName = "Outceil";
// What the host's own gain may do for a plug-in that is not ours.
constexpr MasterRange hostGainRange = {-40.0, 40.0};

std::string figure(const char* format, double value)
{
    char text[64];
    std::snprintf(text, sizeof(text), format, value);
    return text;
}

std::string shellQuoted(const std::string& text)
{
    const bool plain = !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0
               || std::string("_./=+-:,@%").find(c) != std::string::npos;
    });
    if (plain)
    {
        return text;
    }
    std::string quoted = "'";
    for (char c : text)
    {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + "'";
}

}

// How the search reaches the plug-in: ours through its input gain and
// ceiling (linear in the normalised value), any other through a gain the
// host applies before it.
struct MasterSession::PluginControls
{
    std::string pluginPath;
    bool ours = false;
    MasterRange gain = hostGainRange;
    std::optional<MasterRange> ceiling;

    static float normalised(double value, MasterRange range)
    {
        return static_cast<float>((value - range.lowest) / (range.highest - range.lowest));
    }
};

MasterSession::MasterSession(std::ostream& out, std::ostream& err)
    : out(out)
    , err(err)
{
}

CLI::App* MasterSession::addCommand(CLI::App& app, MasterSettings& settings)
{
    CLI::App* command = app.add_subcommand(
        "master", "Bring files (each, or together with --album) to a loudness target with a true-peak maximum: "
                  "renders through the plug-in, measures (ITU-R BS.1770-4) and searches its input gain and ceiling.");
    command->add_option("IN", settings.inputs, "Input audio files")->required();
    command->add_option("-o,--output", settings.outputPath, "Output file (one input)");
    command->add_option("--out-dir", settings.outputDirectory, "Directory for the outputs, named as the inputs");
    command->add_option("--loudness", settings.targets.loudnessLufs, "Integrated loudness target in LUFS")
        ->capture_default_str();
    command->add_option("--true-peak", settings.targets.truePeakDbtp, "True-peak maximum in dBTP")
        ->capture_default_str();
    command->add_option("--max-reduction", settings.targets.maxReductionDb,
                        "Refuse targets that need more than this gain reduction (dB)");
    command->add_option("--plugin", settings.pluginPath, "VST2 module (default: KW_Palisorne.so)");
    command->add_option("--program", settings.program, "Program to start from, by name or index");
    command->add_option("--set", settings.unitSettings, "NAME=VALUE in the plug-in's units (repeatable)")
        ->allow_extra_args(false);
    command->add_option("--set-norm", settings.normalisedSettings, "NAME=VALUE normalised 0..1 (repeatable)")
        ->allow_extra_args(false);
    command->add_option("--bits", settings.bits, "Output samples: 16, 24 or 32f (default: as the input)")
        ->check(CLI::IsMember({"16", "24", "32f"}));
    command->add_flag("--album", settings.album, "One gain and one ceiling for all files, loudness over all of them");
    command->add_option("--jobs", settings.jobs, "Renders at once (default: one per core)")->check(CLI::Range(1, 256));
    command->add_flag("--plot", settings.plot, "Draw OUT's envelopes, gain reduction and loudness into OUT.png");
    command->add_flag("--best-effort", settings.bestEffort, "Write what was reached when a target cannot be met");
    command->add_flag("--overwrite", settings.overwrite, "Replace existing files in --out-dir");
    command->add_flag("--json", settings.json, "Print the report as JSON");
    return command;
}

MasterSession::PluginControls MasterSession::probePlugin(const MasterSettings& settings) const
{
    PluginControls controls;
    controls.pluginPath = settings.pluginPath.empty() ? PluginLocator::findDefault() : settings.pluginPath;
    HostedPlugin plugin(controls.pluginPath);
    VstModule& module = plugin.module();
    if (module.numInputs() < 2 || module.numOutputs() < 2 || (module.flags() & effFlagsCanReplacing) == 0)
    {
        throw HostError(plugin.displayName() + " is not a stereo effect with processReplacing");
    }
    // Bad programs and settings fail here, before any pass.
    ParameterSetting::applyAll(plugin, settings.program, settings.unitSettings, settings.normalisedSettings);
    controls.ours = plugin.isOurs();
    if (controls.ours)
    {
        auto range = [&module](const char* name) {
            const int index = ParameterSetting::findParameter(module, name);
            const float kept = module.getParameter(index);
            module.setParameter(index, 0.0f);
            const double lowest = ParameterSetting::displayedNumber(module.parameterDisplay(index)).value_or(0.0);
            module.setParameter(index, 1.0f);
            const double highest = ParameterSetting::displayedNumber(module.parameterDisplay(index)).value_or(0.0);
            module.setParameter(index, kept);
            return MasterRange{lowest, highest};
        };
        controls.gain = range(gainName);
        controls.ceiling = range(ceilingName);
    }
    return controls;
}

void MasterSession::planOutputs(const MasterSettings& settings)
{
    if (settings.outputPath.empty() == settings.outputDirectory.empty())
    {
        throw HostError("name the output with -o OUT (one input) or --out-dir DIR");
    }
    if (!settings.outputPath.empty() && settings.inputs.size() != 1)
    {
        throw HostError("-o names one output; use --out-dir DIR for " + std::to_string(settings.inputs.size())
                        + " inputs");
    }
    if (!settings.outputDirectory.empty())
    {
        std::error_code error;
        fs::create_directories(settings.outputDirectory, error);
        if (!fs::is_directory(settings.outputDirectory))
        {
            throw HostError("'" + settings.outputDirectory + "' is not a directory and cannot be made one");
        }
    }
    std::set<std::string> taken;
    for (const std::string& input : settings.inputs)
    {
        AudioFileReader reader(input);
        if (reader.getChannels() > 2)
        {
            throw HostError("'" + input + "' has " + std::to_string(reader.getChannels())
                            + " channels; palisorne masters mono and stereo files only");
        }
        MasteredFile file;
        file.inputPath = input;
        file.outputPath = settings.outputPath.empty()
                              ? (fs::path(settings.outputDirectory) / fs::path(input).filename()).string()
                              : settings.outputPath;
        std::error_code error;
        if (fs::equivalent(input, file.outputPath, error))
        {
            throw HostError("the output '" + file.outputPath + "' is the input file; name another output");
        }
        if (!settings.outputDirectory.empty() && fs::exists(file.outputPath) && !settings.overwrite)
        {
            throw HostError("'" + file.outputPath + "' exists; remove it or give --overwrite");
        }
        if (fs::is_directory(file.outputPath) || !taken.insert(fs::absolute(file.outputPath).string()).second)
        {
            throw HostError("'" + file.outputPath + "' cannot be an output (a directory, or named twice)");
        }
        if (settings.plot)
        {
            file.plotPath = fs::path(file.outputPath).replace_extension(".png").string();
        }
        files.push_back(std::move(file));
    }
}

std::vector<std::string> MasterSession::renderOptions(const MasterSettings& settings, const PluginControls& controls,
                                                      double gainDb, std::optional<double> ceilingDb) const
{
    std::vector<std::string> options = {"--plugin", controls.pluginPath};
    if (!settings.program.empty())
    {
        options.insert(options.end(), {"--program", settings.program});
    }
    for (const std::string& text : settings.unitSettings)
    {
        options.insert(options.end(), {"--set", text});
    }
    for (const std::string& text : settings.normalisedSettings)
    {
        options.insert(options.end(), {"--set-norm", text});
    }
    if (controls.ours)
    {
        options.insert(options.end(),
                       {"--set-norm", std::string(gainName) + "="
                                          + figure("%.9g", PluginControls::normalised(gainDb, controls.gain))});
        options.insert(options.end(),
                       {"--set-norm", std::string(ceilingName) + "="
                                          + figure("%.9g", PluginControls::normalised(*ceilingDb, *controls.ceiling))});
    }
    if (!settings.bits.empty())
    {
        options.insert(options.end(), {"--bits", settings.bits});
    }
    return options;
}

void MasterSession::runPasses(const MasterSettings& settings, const PluginControls& controls,
                              const std::string& scratch)
{
    MasterJobs jobs(settings.jobs > 0 ? settings.jobs : MasterJobs::defaultJobs());
    auto resultPath = [&scratch](size_t index) { return scratch + "/" + std::to_string(index) + ".measurement"; };
    auto scratchOutput = [&scratch, this](size_t index) {
        return scratch + "/" + std::to_string(index) + "-" + fs::path(files[index].outputPath).filename().string();
    };
    std::vector<MasterTask> tasks;
    for (size_t index = 0; index < files.size(); ++index)
    {
        tasks.push_back({{"--in", files[index].inputPath, "--result", resultPath(index)},
                         fs::path(files[index].inputPath).filename().string()});
    }
    jobs.run(tasks, "measuring the inputs");
    for (size_t index = 0; index < files.size(); ++index)
    {
        files[index].input = MasterMeasurement::load(resultPath(index));
    }

    auto loudnessOf = [this](const std::vector<size_t>& group, bool output) {
        std::vector<const MasterMeasurement*> measured;
        for (size_t index : group)
        {
            measured.push_back(output ? &files[index].output : &files[index].input);
        }
        return MasterMeasurement::integratedLufs(measured);
    };
    std::vector<std::vector<size_t>> groups;
    for (size_t index = 0; index < files.size(); ++index)
    {
        settings.album && !groups.empty() ? groups.front().push_back(index) : groups.push_back({index});
    }
    for (const std::vector<size_t>& group : groups)
    {
        const double inputLoudness = loudnessOf(group, false);
        units.push_back({group, MasterSearch(settings.targets, controls.gain, controls.ceiling, inputLoudness), false,
                         0.0, inputLoudness});
    }

    for (int pass = 1; true; ++pass)
    {
        tasks.clear();
        for (const MasterUnit& unit : units)
        {
            if (unit.search.isFinished())
            {
                continue;
            }
            std::vector<std::string> options =
                renderOptions(settings, controls, unit.search.nextGainDb(), unit.search.nextCeilingDb());
            if (!controls.ours)
            {
                options.insert(options.end(), {"--host-gain", figure("%.9g", unit.search.nextGainDb())});
            }
            for (size_t index : unit.files)
            {
                std::vector<std::string> arguments = {"--in",     files[index].inputPath, "--out", scratchOutput(index),
                                                      "--result", resultPath(index)};
                arguments.insert(arguments.end(), options.begin(), options.end());
                tasks.push_back({arguments, fs::path(files[index].inputPath).filename().string()});
            }
        }
        if (tasks.empty())
        {
            break;
        }
        jobs.run(tasks, "pass " + std::to_string(pass));
        for (MasterUnit& unit : units)
        {
            if (unit.search.isFinished())
            {
                continue;
            }
            MasterPassPoint point;
            point.gainDb = unit.search.nextGainDb();
            point.ceilingDb = unit.search.nextCeilingDb();
            point.truePeakDbtp = -HUGE_VAL;
            ReductionSummary reduction;
            for (size_t index : unit.files)
            {
                MasteredFile& file = files[index];
                file.output = MasterMeasurement::load(resultPath(index));
                if (pass == 1)
                {
                    file.firstTruePeakPerHop = file.output.truePeakPerHop;
                }
                file.reductionDb = MasterMeasurement::reductionDb(file.input, file.output, point.gainDb);
                reduction.add(file.reductionDb);
                point.truePeakDbtp = std::max(point.truePeakDbtp, file.output.truePeakDbtp());
            }
            point.meanReductionDb = reduction.meanDb;
            point.largestReductionDb = reduction.largestDb;
            point.loudnessLufs = unit.outputLoudnessLufs = loudnessOf(unit.files, true);
            unit.search.record(point);
            err << "palisorne: pass " << pass << " "
                << fs::path(files[unit.files.front()].inputPath).filename().string()
                << (unit.files.size() > 1 ? " (album of " + std::to_string(unit.files.size()) + ")" : "")
                << figure(": gain %+.2f dB", point.gainDb)
                << (point.ceilingDb ? figure(", ceiling %.2f dB", *point.ceilingDb) : "")
                << figure(" -> %.2f LUFS", point.loudnessLufs) << figure(", %.2f dBTP", point.truePeakDbtp) << "\n";
        }
    }
    for (MasterUnit& unit : units)
    {
        const MasterPassPoint* last = unit.search.getPasses().empty() ? nullptr : &unit.search.getPasses().back();
        const bool keep = last != nullptr && (unit.search.succeeded() || settings.bestEffort);
        for (size_t index : unit.files)
        {
            MasteredFile& file = files[index];
            if (last != nullptr && controls.ours)
            {
                std::string command =
                    "palisorne render " + shellQuoted(file.inputPath) + " " + shellQuoted(file.outputPath);
                for (const std::string& option : renderOptions(settings, controls, last->gainDb, last->ceilingDb))
                {
                    command += " " + shellQuoted(option);
                }
                file.renderCommand = command;
            }
            if (keep)
            {
                fs::rename(scratchOutput(index), file.outputPath);
            }
        }
        unit.written = keep;
    }
}

int MasterSession::run(const MasterSettings& settings)
{
    planOutputs(settings);
    const PluginControls controls = probePlugin(settings);
    const WorkingDirectory scratch(fs::path(files.front().outputPath).parent_path().string());
    runPasses(settings, controls, scratch.path);

    int exitCode = 0;
    for (const MasterUnit& unit : units)
    {
        if (!unit.search.succeeded())
        {
            exitCode = 1;
            err << "palisorne: " << (settings.bestEffort ? "warning: " : "error: ")
                << fs::path(files[unit.files.front()].inputPath).filename().string()
                << (unit.files.size() > 1 ? " and the rest of the album" : "") << ": " << unit.search.getFailure()
                << (unit.written ? "; written anyway (--best-effort)" : "; nothing written") << "\n";
        }
        for (size_t index : unit.files)
        {
            if (unit.written && !files[index].plotPath.empty())
            {
                MasterPlot::draw(files[index], settings.targets, files[index].plotPath);
            }
        }
    }
    const MasterReport report(settings, files, units);
    settings.json ? report.printJson(out) : report.printText(out);
    return settings.bestEffort ? 0 : exitCode;
}
