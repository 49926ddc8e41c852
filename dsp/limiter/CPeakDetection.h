#pragma once

#include "limiter/CISPDetector.h"
#include "limiter/LaneChunk.h"

// The limiter's detection: the delay line read the look-ahead ahead of the
// output tap, as sample peaks or through a true-peak detector per channel,
// never below the ceiling.
class CPeakDetection
{
public:
    explicit CPeakDetection(int channels);

    void update(float sampleRate);
    void clear();

    // The detector's own delay, made up by reading further ahead.
    int lead(bool truePeak) const { return truePeak ? detector[0].getLatency() : 0; }

    // The detection values of the chunk's count samples into chunk.held;
    // the chunk's first sample writes the delay line at writeIndex.
    void process(LimiterLanes::Chunk& chunk, const LimiterLanes::LaneFrame* delay, int count, int writeIndex,
                 const LimiterLanes::BlockSettings& s);

private:
    LimiterLanes::PairedBlocks<CISPDetector> detector;
};
