#include "MasterPass.h"

#include "AudioFileFormat.h"
#include "AudioFileReader.h"
#include "AudioFileWriter.h"
#include "HostError.h"
#include "HostedPlugin.h"
#include "InterruptFlag.h"
#include "MasterMeter.h"
#include "ParameterSetting.h"
#include "PluginLocator.h"
#include "RenderLoop.h"
#include "Renderer.h"
#include "WordLengthReducer.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <unistd.h>

namespace
{
constexpr size_t meteredBlock = 4096;

// Reports whole percents only, so the pipe carries a hundred lines at most.
class PassProgress
{
public:
    PassProgress(int descriptor, double expectedFrames)
        : descriptor(descriptor)
        , expectedFrames(expectedFrames)
        , lastPercent(-1)
    {
    }

    void update(double frames)
    {
        const int percent = expectedFrames > 0.0 ? static_cast<int>(std::min(1.0, frames / expectedFrames) * 100) : 0;
        if (descriptor >= 0 && percent != lastPercent)
        {
            lastPercent = percent;
            const std::string line = std::to_string(percent) + "\n";
            if (::write(descriptor, line.data(), line.size()) < 0)
            {
                descriptor = -1;
            }
        }
    }

private:
    int descriptor;
    double expectedFrames;
    int lastPercent;
};

void checkInterrupt()
{
    if (InterruptFlag::isRaised())
    {
        throw HostError("interrupted");
    }
}

MasterMeasurement measureFile(const std::string& path, PassProgress* progress)
{
    AudioFileReader reader(path);
    MasterMeter meter(reader.getChannels(), reader.getSampleRate());
    std::vector<float> block(meteredBlock * static_cast<size_t>(reader.getChannels()));
    double frames = 0.0;
    while (const size_t read = reader.read(block.data(), meteredBlock))
    {
        checkInterrupt();
        meter.addFrames(block.data(), read);
        frames += static_cast<double>(read);
        if (progress != nullptr)
        {
            progress->update(frames);
        }
    }
    return meter.finish();
}

// As `palisorne render` does it, with the host's gain before the plug-in.
MasterMeasurement render(const MasterPassRequest& request, PassProgress& progress)
{
    AudioFileReader reader(request.inputPath);
    const int fileChannels = reader.getChannels();
    const int sampleRate = reader.getSampleRate();
    HostedPlugin plugin(request.pluginPath.empty() ? PluginLocator::findDefault() : request.pluginPath);
    VstModule& module = plugin.module();
    ParameterSetting::applyAll(plugin, request.program, request.unitSettings, request.normalisedSettings);
    plugin.start(sampleRate, request.blockFrames);
    const int outputChannels = fileChannels == 1 ? 1 : RenderLoop::pluginChannels;
    const float hostGain = static_cast<float>(std::pow(10.0, request.hostGainDb / 20.0));
    RenderLoop loop(module, reader, static_cast<size_t>(request.blockFrames), hostGain, outputChannels, false);
    const int format = AudioFileFormat::forOutput(request.outputPath, reader.getFormat(), request.bits, outputChannels,
                                                  sampleRate, "");
    // "NumBits" shows the step 0..3 of 0, 8, 16 and 24 bits.
    const int numBits = ParameterSetting::findParameter(module, "NumBits");
    const int pluginBits =
        plugin.isOurs() && numBits >= 0
            ? 8 * static_cast<int>(ParameterSetting::displayedNumber(module.parameterDisplay(numBits)).value_or(0.0))
            : 0;
    AudioFileOptions options;
    options.dither = WordLengthReducer::choose(format, pluginBits, false) == WordLengthReducer::Dither::triangular;
    options.metadata = &reader.getMetadata();
    AudioFileWriter writer(request.outputPath, format, outputChannels, sampleRate, options);
    // What the writer changes (encoding, dither) is measured from the file.
    const bool measureWritten = AudioFileFormat::isLossy(format) || options.dither;
    MasterMeter meter(outputChannels, sampleRate);

    while (loop.next())
    {
        checkInterrupt();
        writer.write(loop.outputFrames(), loop.outputCount());
        if (!measureWritten)
        {
            meter.addFrames(loop.outputFrames(), loop.outputCount());
        }
        progress.update(static_cast<double>(loop.processedFrames()));
    }
    plugin.stop();
    if (!reader.truncation().empty())
    {
        throw HostError(reader.truncation() + "; nothing written");
    }
    writer.commit();
    return measureWritten ? measureFile(writer.getReadablePath(), nullptr) : meter.finish();
}
}

CLI::App* MasterPass::addCommand(CLI::App& app, MasterPassRequest& request)
{
    CLI::App* command = app.add_subcommand("master-pass", "One render or measurement of `palisorne master`");
    command->group("");
    command->add_option("--in", request.inputPath)->required();
    command->add_option("--out", request.outputPath);
    command->add_option("--result", request.resultPath)->required();
    command->add_option("--plugin", request.pluginPath);
    command->add_option("--program", request.program);
    command->add_option("--set", request.unitSettings)->allow_extra_args(false);
    command->add_option("--set-norm", request.normalisedSettings)->allow_extra_args(false);
    command->add_option("--host-gain", request.hostGainDb);
    command->add_option("--bits", request.bits);
    command->add_option("--block", request.blockFrames)->check(CLI::Range(1, Renderer::largestBlock));
    return command;
}

void MasterPass::run(const MasterPassRequest& request, int progressDescriptor)
{
    const double expectedFrames = static_cast<double>(AudioFileReader(request.inputPath).getFrames());
    PassProgress progress(progressDescriptor, expectedFrames);
    const MasterMeasurement measurement =
        request.outputPath.empty() ? measureFile(request.inputPath, &progress) : render(request, progress);
    measurement.save(request.resultPath);
}
