#pragma once

#include "blocks/C1HPF.h"
#include "limiter/LaneChunk.h"

#include <atomic>
#include <cstdint>

// The limiter's input: the gain, a floor of +-1e-8 noise under quiet
// samples (so that no filter or envelope ever decays into denormals), the
// 1 Hz high-pass that blocks DC, and the look-ahead delay line the detection
// reads ahead of the output tap.
class CInputStage
{
public:
    explicit CInputStage(int channels);

    void update(float sampleRate);
    void clear();

    // Gain and noise floor of the chunk of out at offset into every pair's
    // input, frame by frame in channel order as the channels share the
    // noise generator.
    void process(float* const* out, int offset, int count, float preGain, LimiterLanes::Chunk* chunks);

    // The high-pass and the delay line for the samples of the chunk the
    // detection reads within the same chunk (detection reads
    // detectionOffset samples past the write position); the rest go
    // through a Lanes, one sample at a time.
    void filterAhead(LimiterLanes::Chunk& chunk, int count, int writeIndex, int detectionOffset);

    const LimiterLanes::LaneFrame* delayLine(const LimiterLanes::Chunk& chunk) const
    {
        return delay[size_t(chunk.first / LimiterLanes::pairWidth)].frames;
    }

    // The high-pass and the delay line of one pair, sample by sample
    // (CInputStageLanes.h).
    class Lanes;

private:
    struct DelayLine
    {
        alignas(16) LimiterLanes::LaneFrame frames[LimiterLanes::delayLength] = {};
    };

    LimiterLanes::PairedBlocks<C1HPF, C1LPF> filter;
    std::vector<DelayLine> delay;
};
