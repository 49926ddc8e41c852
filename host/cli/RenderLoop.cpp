#include "RenderLoop.h"

#include "AudioFileReader.h"
#include "VstModule.h"

#include <algorithm>

RenderLoop::RenderLoop(VstModule& module, AudioFileReader& reader, size_t blockFrames, float hostGain,
                       int outputChannels, bool keepLatency)
    : module(module)
    , reader(reader)
    , blockFrames(blockFrames)
    , hostGain(hostGain)
    , fileChannels(reader.getChannels())
    , outputChannels(outputChannels)
    , keepLatency(keepLatency)
    , latencyFrames(std::max(0, module.initialDelay()))
    , inputs(module.numInputs(), blockFrames)
    , outputs(module.numOutputs(), blockFrames)
    , fileBlock(blockFrames * static_cast<size_t>(fileChannels))
    , fedBlock(blockFrames * pluginChannels)
    , producedBlock(blockFrames * pluginChannels)
    , outputBlock(blockFrames * static_cast<size_t>(outputChannels))
    , processed(0)
    , silenceLeft(latencyFrames)
    , inputEnded(false)
    , read(0)
    , frames(0)
    , aligned(0)
    , outputCountInBlock(0)
{
}

bool RenderLoop::next()
{
    read = inputEnded ? 0 : reader.read(fileBlock.data(), blockFrames);
    inputEnded = inputEnded || read < blockFrames;
    const size_t silence =
        static_cast<size_t>(std::min<long long>(silenceLeft, static_cast<long long>(blockFrames - read)));
    frames = read + silence;
    if (frames == 0)
    {
        return false;
    }
    silenceLeft -= static_cast<long long>(silence);
    std::fill(fileBlock.begin() + static_cast<long>(read * static_cast<size_t>(fileChannels)), fileBlock.end(), 0.0f);

    for (size_t frame = 0; frame < frames; ++frame)
    {
        for (int channel = 0; channel < pluginChannels; ++channel)
        {
            const int source = std::min(channel, fileChannels - 1);
            const float sample =
                hostGain * fileBlock[frame * static_cast<size_t>(fileChannels) + static_cast<size_t>(source)];
            inputs.channel(channel)[frame] = sample;
            fedBlock[frame * pluginChannels + static_cast<size_t>(channel)] = sample;
        }
    }

    module.processReplacing(inputs.pointers(), outputs.pointers(), static_cast<VstInt32>(frames));

    for (size_t frame = 0; frame < frames; ++frame)
    {
        for (int channel = 0; channel < pluginChannels; ++channel)
        {
            producedBlock[frame * pluginChannels + static_cast<size_t>(channel)] = outputs.channel(channel)[frame];
        }
    }
    aligned = static_cast<size_t>(std::clamp<long long>(latencyFrames - processed, 0, static_cast<long long>(frames)));
    const size_t first = keepLatency ? 0 : aligned;
    outputCountInBlock = frames - first;
    for (size_t frame = 0; frame < outputCountInBlock; ++frame)
    {
        const float* pair = &producedBlock[(first + frame) * pluginChannels];
        std::copy(pair, pair + outputChannels, &outputBlock[frame * static_cast<size_t>(outputChannels)]);
    }
    processed += static_cast<long long>(frames);
    return true;
}
