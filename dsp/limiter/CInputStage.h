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

    // The high-pass and the delay line of one pair, sample by sample, with
    // the filter states in registers; finish() stores them back.
    class Lanes
    {
    public:
        Lanes(CInputStage& stage, const LimiterLanes::Chunk& chunk)
            : filter(stage.filter.pair(chunk.first / LimiterLanes::pairWidth), chunk.count),
              delay(stage.delay[size_t(chunk.first / LimiterLanes::pairWidth)].frames)
        {
        }

        // Sample i at write position w: its output tap is read before the
        // next sample overwrites it.
        void process(LimiterLanes::Chunk& chunk, int i, int w)
        {
            _mm_store_ps(chunk.delayed[i], _mm_load_ps(delay[(w + 1) & LimiterLanes::delayMask]));
            _mm_store_ps(delay[w], filter.highpass(_mm_load_ps(chunk.input[i])));
        }

        void finish() { filter.finish(); }

    private:
        C1LPF::Lanes filter;
        LimiterLanes::LaneFrame* delay;
    };

private:
    struct DelayLine
    {
        alignas(16) LimiterLanes::LaneFrame frames[LimiterLanes::delayLength] = {};
    };

    LimiterLanes::PairedBlocks<C1HPF, C1LPF> filter;
    std::vector<DelayLine> delay;
};
