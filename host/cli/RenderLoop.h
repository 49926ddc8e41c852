#pragma once

#include "PlanarBuffer.h"

#include <cstddef>
#include <vector>

class AudioFileReader;
class VstModule;

// The block loop of an offline render, shared by `palisorne render` and the
// passes of `palisorne master`.
//
// The file goes on the effect's first two inputs (a mono file on both;
// further inputs, side chains, get silence) in blocks of at most blockFrames,
// raised by the host's gain. After the file, as many frames of silence as the
// effect's latency flush its delay line. The first latency frames of the
// output answer the silence that preceded the input; unless the latency is
// kept they are dropped from output(), so that it lines up with the input.
class RenderLoop
{
public:
    // The effect is driven in stereo.
    static constexpr int pluginChannels = 2;

    // The effect must be started (its latency is read here). outputChannels 1
    // writes the effect's first output only.
    RenderLoop(VstModule& module, AudioFileReader& reader, size_t blockFrames, float hostGain, int outputChannels,
               bool keepLatency);

    // Processes the next block; false when the file and the flush are done.
    bool next();

    long long latency() const { return latencyFrames; }
    // Frames through the effect so far, the flush included.
    long long processedFrames() const { return processed; }

    // Of the last block: the file's frames as read, interleaved.
    const float* fileFrames() const { return fileBlock.data(); }
    size_t readFrames() const { return read; }
    // The read frames as the effect got them, stereo interleaved.
    const float* fedFrames() const { return fedBlock.data(); }
    // The effect's output from the first frame that answers the input on,
    // stereo interleaved; whether or not the latency is kept.
    const float* alignedFrames() const { return producedBlock.data() + aligned * pluginChannels; }
    size_t alignedCount() const { return frames - aligned; }
    // What goes into the output file, outputChannels interleaved.
    const float* outputFrames() const { return outputBlock.data(); }
    size_t outputCount() const { return outputCountInBlock; }

private:
    VstModule& module;
    AudioFileReader& reader;
    size_t blockFrames;
    float hostGain;
    int fileChannels;
    int outputChannels;
    bool keepLatency;
    long long latencyFrames;
    PlanarBuffer inputs;
    PlanarBuffer outputs;
    std::vector<float> fileBlock;
    std::vector<float> fedBlock;
    std::vector<float> producedBlock;
    std::vector<float> outputBlock;
    long long processed;
    long long silenceLeft;
    bool inputEnded;
    size_t read;
    size_t frames;
    size_t aligned;
    size_t outputCountInBlock;
};
