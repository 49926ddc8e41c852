#include "MasterPass.h"

#include "AudioFileFormat.h"
#include "AudioFileReader.h"
#include "AudioFileWriter.h"
#include "HostError.h"
#include "HostedPlugin.h"
#include "InterruptFlag.h"
#include "MasterMeter.h"
#include "ParameterSetting.h"
#include "PlanarBuffer.h"
#include "PluginLocator.h"
#include "WordLengthReducer.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <unistd.h>

namespace
{
constexpr int pluginChannels = 2;
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

// As `palisorne render` does it: the file on the plug-in's first two inputs (a
// mono file on both), silence after it to flush the latency, the first
// latency frames of the output dropped.
MasterMeasurement render(const MasterPassRequest& request, PassProgress& progress)
{
    AudioFileReader reader(request.inputPath);
    const int fileChannels = reader.getChannels();
    const int sampleRate = reader.getSampleRate();
    HostedPlugin plugin(request.pluginPath.empty() ? PluginLocator::findDefault() : request.pluginPath);
    VstModule& module = plugin.module();
    if (!request.program.empty())
    {
        plugin.selectProgram(request.program);
    }
    for (const std::string& text : request.unitSettings)
    {
        ParameterSetting::parse(text, false).applyTo(plugin);
    }
    for (const std::string& text : request.normalisedSettings)
    {
        ParameterSetting::parse(text, true).applyTo(plugin);
    }
    plugin.start(sampleRate, request.blockFrames);
    const long long latency = std::max(0, module.initialDelay());
    const int outputChannels = fileChannels == 1 ? 1 : pluginChannels;
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

    const float gain = static_cast<float>(std::pow(10.0, request.hostGainDb / 20.0));
    const size_t block = static_cast<size_t>(request.blockFrames);
    PlanarBuffer inputs(module.numInputs(), block);
    PlanarBuffer outputs(module.numOutputs(), block);
    std::vector<float> fileBlock(block * static_cast<size_t>(fileChannels));
    std::vector<float> produced(block * static_cast<size_t>(outputChannels));
    long long done = 0;
    long long silenceLeft = latency;
    bool inputEnded = false;
    while (true)
    {
        checkInterrupt();
        const size_t read = inputEnded ? 0 : reader.read(fileBlock.data(), block);
        inputEnded = inputEnded || read < block;
        const size_t silence =
            static_cast<size_t>(std::min<long long>(silenceLeft, static_cast<long long>(block - read)));
        const size_t frames = read + silence;
        if (frames == 0)
        {
            break;
        }
        silenceLeft -= static_cast<long long>(silence);
        for (size_t frame = 0; frame < frames; ++frame)
        {
            for (int channel = 0; channel < pluginChannels; ++channel)
            {
                const int source = std::min(channel, fileChannels - 1);
                inputs.channel(channel)[frame] =
                    frame < read
                        ? gain * fileBlock[frame * static_cast<size_t>(fileChannels) + static_cast<size_t>(source)]
                        : 0.0f;
            }
        }
        module.processReplacing(inputs.pointers(), outputs.pointers(), static_cast<VstInt32>(frames));
        const size_t first =
            static_cast<size_t>(std::clamp<long long>(latency - done, 0, static_cast<long long>(frames)));
        for (size_t frame = first; frame < frames; ++frame)
        {
            for (int channel = 0; channel < outputChannels; ++channel)
            {
                produced[(frame - first) * static_cast<size_t>(outputChannels) + static_cast<size_t>(channel)] =
                    outputs.channel(channel)[frame];
            }
        }
        writer.write(produced.data(), frames - first);
        if (!measureWritten)
        {
            meter.addFrames(produced.data(), frames - first);
        }
        done += static_cast<long long>(frames);
        progress.update(static_cast<double>(done));
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
    command->add_option("--block", request.blockFrames);
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
