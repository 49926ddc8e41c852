#include "Renderer.h"

#include "AudioFileFormat.h"
#include "AudioFileReader.h"
#include "AudioFileWriter.h"
#include "GainReductionMeter.h"
#include "HostError.h"
#include "HostedPlugin.h"
#include "InterruptFlag.h"
#include "LoudnessMeter.h"
#include "NameMatch.h"
#include "ParameterSetting.h"
#include "PluginLocator.h"
#include "ProgressBar.h"
#include "RenderLoop.h"
#include "WordLengthReducer.h"

#include <algorithm>
#include <cstdio>
#include <sys/stat.h>

namespace
{
std::optional<double> shownNumber(VstModule& module, const char* parameterName)
{
    const int index = ParameterSetting::findParameter(module, parameterName);
    if (index < 0)
    {
        return std::nullopt;
    }
    return ParameterSetting::displayedNumber(module.parameterDisplay(index));
}

std::string displayWithLabel(VstModule& module, int index)
{
    const std::string label = NameMatch::trimmed(module.parameterLabel(index));
    const std::string display = NameMatch::trimmed(module.parameterDisplay(index));
    return label.empty() ? display : display + " " + label;
}
}

Renderer::Renderer(RenderSettings settings)
    : settings(std::move(settings))
{
}

void Renderer::checkPaths() const
{
    if (settings.outputPath.empty())
    {
        throw HostError("no output path given");
    }
    struct stat input;
    struct stat output;
    const bool inputExists = settings.inputPath != "-" && ::stat(settings.inputPath.c_str(), &input) == 0;
    const bool outputExists = ::stat(settings.outputPath.c_str(), &output) == 0;
    if ((settings.inputPath == settings.outputPath && settings.inputPath != "-")
        || (inputExists && outputExists && input.st_dev == output.st_dev && input.st_ino == output.st_ino))
    {
        throw HostError("the output '" + settings.outputPath + "' is the input file; name another output");
    }
    if (outputExists && S_ISDIR(output.st_mode))
    {
        throw HostError("the output '" + settings.outputPath + "' is a directory; name a file");
    }
}

// The program first, so that settings override what it holds; then the
// settings in units and the normalised ones, each in the order given.
void Renderer::applySettings(HostedPlugin& plugin, RenderReport& report) const
{
    VstModule& module = plugin.module();
    if (settings.programIndex)
    {
        if (*settings.programIndex < 0 || *settings.programIndex >= module.numPrograms())
        {
            throw HostError("the recorded program " + std::to_string(*settings.programIndex) + " does not exist in "
                            + plugin.displayName());
        }
        module.setProgram(*settings.programIndex);
    }
    for (const RecordedValue& recorded : settings.recordedValues)
    {
        if (recorded.index < 0 || recorded.index >= module.numParams()
            || !NameMatch::matches(module.parameterName(recorded.index), recorded.name))
        {
            throw HostError("the recorded parameter " + std::to_string(recorded.index) + " '" + recorded.name
                            + "' is not a parameter of " + plugin.displayName() + " by that number");
        }
        module.setParameter(recorded.index, recorded.normalised);
    }
    const std::vector<int> changed =
        ParameterSetting::applyAll(plugin, settings.program, settings.unitSettings, settings.normalisedSettings);
    if (module.numPrograms() > 0)
    {
        report.program = module.programName();
        report.programIndex = module.program();
    }
    const auto summary = [&module](int index) -> ParameterSummary {
        return {index, NameMatch::trimmed(module.parameterName(index)), displayWithLabel(module, index),
                module.getParameter(index)};
    };
    for (int index : changed)
    {
        report.settings.push_back(summary(index));
    }
    for (int index = 0; index < module.numParams(); ++index)
    {
        report.parameters.push_back(summary(index));
    }
}

// A lossy file is measured as a listener gets it: decoded again. A stream
// cannot be read back, so there the figures stay those before encoding.
void Renderer::measureOutput(const std::string& readablePath, int outputFormat, RenderReport& report) const
{
    if (!AudioFileFormat::isLossy(outputFormat))
    {
        return;
    }
    if (readablePath.empty())
    {
        report.warnings.push_back("'" + settings.outputPath
                                  + "' is a stream and cannot be decoded again: its figures are those before encoding");
        return;
    }
    report.output.loudness = LoudnessMeter::measureFile(readablePath);
    report.output.decoded = true;
}

RenderReport Renderer::run(ProgressBar* progress)
{
    if (settings.blockFrames < 1 || settings.blockFrames > largestBlock)
    {
        throw HostError("--block must lie between 1 and " + std::to_string(largestBlock) + " frames");
    }
    checkPaths();
    AudioFileReader reader(settings.inputPath);
    const int fileChannels = reader.getChannels();
    const int sampleRate = reader.getSampleRate();
    if (fileChannels > RenderLoop::pluginChannels)
    {
        throw HostError("'" + settings.inputPath + "' has " + std::to_string(fileChannels)
                        + " channels; palisorne renders mono and stereo files only");
    }

    HostedPlugin plugin(settings.pluginPath.empty() ? PluginLocator::findDefault() : settings.pluginPath);
    VstModule& module = plugin.module();
    if (module.numInputs() < RenderLoop::pluginChannels || module.numOutputs() < RenderLoop::pluginChannels)
    {
        throw HostError(plugin.displayName() + " has " + std::to_string(module.numInputs()) + " input(s) and "
                        + std::to_string(module.numOutputs()) + " output(s); palisorne needs a stereo effect");
    }
    if ((module.flags() & effFlagsCanReplacing) == 0)
    {
        throw HostError(plugin.displayName() + " offers no processReplacing, which VST 2.4 hosts need");
    }

    RenderReport report;
    report.pluginPath = module.path();
    report.pluginName = plugin.displayName();
    report.uniqueId = plugin.uniqueIdText();
    report.ours = plugin.isOurs();
    report.latencyCompensated = !settings.keepLatency;
    report.vendorVersion = module.vendorVersion();
    report.vstVersion = module.vstVersion();
    report.blockFrames = settings.blockFrames;
    report.quality = settings.quality;
    report.noDither = settings.noDither;
    report.stereo = settings.stereo;

    applySettings(plugin, report);

    if (report.ours && (sampleRate < HostedPlugin::ourLowestRate || sampleRate > HostedPlugin::ourHighestRate))
    {
        const int clamped = std::clamp(sampleRate, HostedPlugin::ourLowestRate, HostedPlugin::ourHighestRate);
        report.warnings.push_back("the file's " + std::to_string(sampleRate) + " Hz lies outside the "
                                  + std::to_string(HostedPlugin::ourLowestRate) + ".."
                                  + std::to_string(HostedPlugin::ourHighestRate)
                                  + " Hz the limiter works at: rendered at " + std::to_string(sampleRate)
                                  + " Hz with its times and filters set for " + std::to_string(clamped) + " Hz");
    }
    double inputGainDb = 0.0;
    int pluginBits = 0;
    if (report.ours)
    {
        inputGainDb = shownNumber(module, "In gain").value_or(0.0);
        report.ceilingDb = shownNumber(module, "Outceil");
        // "NumBits" shows the step 0..3 of 0, 8, 16 and 24 bits.
        pluginBits = 8 * static_cast<int>(shownNumber(module, "NumBits").value_or(0.0));
    }
    if (settings.ceilingDb)
    {
        report.ceilingDb = settings.ceilingDb;
    }

    plugin.start(sampleRate, settings.blockFrames);
    const int outputChannels = fileChannels == 1 && !settings.stereo ? 1 : RenderLoop::pluginChannels;
    RenderLoop loop(module, reader, static_cast<size_t>(settings.blockFrames), 1.0f, outputChannels,
                    settings.keepLatency);
    report.latencyFrames = static_cast<int>(loop.latency());

    const int outputFormat = AudioFileFormat::forOutput(settings.outputPath, reader.getFormat(), settings.bits,
                                                        outputChannels, sampleRate, settings.format);
    if (settings.quality && !AudioFileFormat::isLossy(outputFormat))
    {
        throw HostError("--quality applies to lossy formats (ogg, opus, mp3), not to "
                        + AudioFileFormat::describe(outputFormat));
    }
    const WordLengthReducer::Dither dither =
        WordLengthReducer::choose(outputFormat, pluginBits, settings.noDither);
    report.dither = WordLengthReducer::describe(dither, outputFormat);
    report.outputKind = AudioFileFormat::kindName(outputFormat);
    report.bits = AudioFileFormat::bitsName(outputFormat);
    AudioFileOptions options;
    options.quality = settings.quality;
    options.dither = dither == WordLengthReducer::Dither::triangular;
    options.metadata = &reader.getMetadata();
    AudioFileWriter writer(settings.outputPath, outputFormat, outputChannels, sampleRate, options);
    LoudnessMeter inputMeter(fileChannels, sampleRate);
    LoudnessMeter outputMeter(outputChannels, sampleRate);
    GainReductionMeter reductionMeter(RenderLoop::pluginChannels, sampleRate, inputGainDb);

    const double expectedFrames = static_cast<double>(std::max<long long>(reader.getFrames(), 0) + loop.latency());
    long long inputFrames = 0;
    while (loop.next())
    {
        if (InterruptFlag::isRaised())
        {
            throw HostError("interrupted; '" + settings.outputPath + "' left as it was");
        }
        inputMeter.addFrames(loop.fileFrames(), loop.readFrames());
        reductionMeter.addInput(loop.fedFrames(), loop.readFrames());
        inputFrames += static_cast<long long>(loop.readFrames());
        reductionMeter.addOutput(loop.alignedFrames(), loop.alignedCount());
        outputMeter.addFrames(loop.outputFrames(), loop.outputCount());
        writer.write(loop.outputFrames(), loop.outputCount());
        report.output.frames += static_cast<long long>(loop.outputCount());
        if (progress != nullptr && expectedFrames > 0)
        {
            progress->update(static_cast<double>(loop.processedFrames()) / expectedFrames);
        }
    }
    plugin.stop();
    const std::string truncation = reader.truncation();
    if (!truncation.empty() && !settings.acceptTruncated)
    {
        throw HostError(truncation + "; nothing written (--accept-truncated renders what it holds)");
    }
    if (!truncation.empty())
    {
        report.warnings.push_back(truncation);
    }
    writer.commit();
    if (progress != nullptr)
    {
        progress->finish();
    }

    report.input.path = settings.inputPath;
    report.input.format = AudioFileFormat::describe(reader.getFormat());
    report.input.sampleRate = sampleRate;
    report.input.channels = fileChannels;
    report.input.frames = inputFrames;
    report.input.loudness = inputMeter.getFigures();
    report.output.path = settings.outputPath;
    report.output.format = AudioFileFormat::describe(outputFormat);
    report.output.sampleRate = sampleRate;
    report.output.channels = outputChannels;
    report.output.loudness = outputMeter.getFigures();
    measureOutput(writer.getReadablePath(), outputFormat, report);
    report.largestGainReductionDb = reductionMeter.getLargestReductionDb();
    report.meanGainReductionDb = reductionMeter.getMeanReductionDb();
    if (report.truePeakAboveCeiling() && report.output.decoded)
    {
        char text[200];
        std::snprintf(text, sizeof(text),
                      "encoding lifted the output's true peak to %.2f dBTP, above the ceiling of %.2f dB; "
                      "lower the ceiling or raise --quality",
                      report.output.largestTruePeakDbtp(), *report.ceilingDb);
        report.warnings.push_back(text);
    }
    else if (report.truePeakAboveCeiling())
    {
        char text[160];
        std::snprintf(text, sizeof(text), "the output's true peak, %.2f dBTP, lies above the ceiling of %.2f dB",
                      report.output.largestTruePeakDbtp(), *report.ceilingDb);
        report.warnings.push_back(text);
    }
    return report;
}
