#pragma once

#include "blocks/LaneFrame.h"

#include <memory>
#include <vector>

// What the limiter's stages share: the sizes, the settings of the block in
// process, and for each pair of channels the chunk of samples that one stage
// hands to the next, the pair's two channels in lanes 0-1 of each frame.
namespace LimiterLanes
{
constexpr int delayLength = 512;
constexpr int delayMask = delayLength - 1;
// Samples per pass of the per-sample stages.
constexpr int chunkLength = 512;
// Channels side by side in one pass.
constexpr int pairWidth = 2;

using LaneFrame = ChannelLanes::Frame;

inline int pairCount(int channels)
{
    return (channels + pairWidth - 1) / pairWidth;
}

// Settings as read at the start of the current block.
struct BlockSettings
{
    float inputGain = 1.0f;
    float clipLevel = 1.0f;
    float saturation = 0.0f;
    float preGain = 1.0f;
    float detectionGain = 1.0f;
    bool truePeak = false;
    float ceiling = 1.0f;
    float link = 0.0f;
    int lookahead = 4;
    float attackCoef = 0.0f;
    float releaseCoef = 0.0f;
    float smoothCoef = 0.0f;
};

struct Chunk
{
    int first = 0; // the pair's first channel
    int count = 0; // its channels, 1 or 2
    // Samples whose input filter ran before the detection; the rest run
    // with the gain.
    int filteredFirst = 0;
    alignas(16) LaneFrame input[chunkLength] = {};   // gained input with the noise floor
    alignas(16) LaneFrame delayed[chunkLength] = {}; // the delay line's output tap
    alignas(16) LaneFrame held[chunkLength] = {};    // detection, then the sliding maximum
    alignas(16) LaneFrame envelope[chunkLength] = {};
    alignas(16) LaneFrame dither[chunkLength] = {};  // the quantizers' dither draws
    alignas(16) LaneFrame gain[chunkLength] = {};
    alignas(16) LaneFrame output[chunkLength] = {};
    alignas(16) LaneFrame meanSquare[chunkLength] = {}; // the RMS meter's input
};

// One block per channel, and for each pair the pointers to its blocks that
// the Lanes class of the block (or of its base, Lane) takes.
template <typename Block, typename Lane = Block>
class PairedBlocks
{
public:
    template <typename... Args>
    explicit PairedBlocks(int channels, Args... args) : channels(channels), pointers(size_t(2 * pairCount(channels)))
    {
        for (int ch = 0; ch < channels; ++ch)
        {
            blocks.emplace_back(new Block(args...));
            pointers[size_t(ch)] = blocks.back().get();
        }
    }

    Block& operator[](int channel) { return *blocks[size_t(channel)]; }
    template <typename F>
    void forEach(F f)
    {
        for (auto& block : blocks)
            f(*block);
    }
    const Block& operator[](int channel) const { return *blocks[size_t(channel)]; }
    Lane* const* pair(int p) { return &pointers[size_t(pairWidth * p)]; }
    int size() const { return channels; }

private:
    int channels;
    std::vector<std::unique_ptr<Block>> blocks;
    std::vector<Lane*> pointers;
};
}
