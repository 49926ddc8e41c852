#pragma once

#include "blocks/CQuantizer.h"
#include "limiter/LaneChunk.h"

#include <cstdint>

// The limiter's output: the word-length reduction of each channel and the
// clip at the clip level (the ceiling on the output's word-length grid).
class COutputStage
{
public:
    explicit COutputStage(int channels);

    void update(float sampleRate, int8_t bits);
    void setShaping(float amount);
    void clear();

    // The dither of every active quantizer for the chunk's count samples.
    // The quantizers share the dither generator: drawn frame by frame in
    // channel order, as processing sample by sample would.
    void drawDither(LimiterLanes::Chunk* chunks, int count);

    // The chunk's output into out at offset.
    void store(const LimiterLanes::Chunk& chunk, float* const* out, int offset, int count) const;

    // One pair's quantizers and clip, sample by sample (COutputStageLanes.h).
    class Lanes;

    // Whether a quantizer of the pair is active.
    bool quantizing(const LimiterLanes::Chunk& chunk);

private:
    LimiterLanes::PairedBlocks<CQuantizer> quantizer;
    // The chunk's dither draws for the active quantizers, frame by frame.
    std::vector<int> quantizingChannel;
    std::vector<float> ditherDraws;
};
