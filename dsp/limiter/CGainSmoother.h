#pragma once

#include "limiter/LaneChunk.h"

#include <vector>

class CSlidingMaximum;
class CInputStage;
class COutputStage;
class CLimiterMeters;

// The limiter's gain computer after the sliding maximum: the attack/release
// envelope, the stereo link, four one-pole smoothing sections and the gain
// that brings the smoothed level down to the ceiling.
//
// The work of a sample is a deep chain, so it runs as a pipeline over the
// chunk, and the stages that take each sample as the gain reaches it (the
// sliding maximum's hold rule when one pair is alone, the input filter of
// the samples detection did not need yet, the output stage and the mean
// square) run in the same steps, where their arithmetic overlaps.
class CGainSmoother
{
public:
    // The stages that run in the pipeline's steps, with the smoothing.
    struct Neighbours
    {
        CSlidingMaximum& hold;
        CInputStage& input;
        COutputStage& output;
        CLimiterMeters& meters;
    };

    explicit CGainSmoother(int channels);

    void clear();

    // With more than one pair: the envelope of each sample from the held
    // maxima of chunk.held, and the largest held maximum and envelope over
    // the channels, carried on from the pairs before this one.
    void followEnvelopes(LimiterLanes::Chunk& chunk, int count, const LimiterLanes::BlockSettings& s);

    // Link, smoothing and gain of the chunk's count samples into chunk.gain,
    // and the output stage's samples into chunk.output; with one pair alone,
    // chunk.held still holds the detection values and the hold rule runs
    // here too. writeIndex: the delay line's write position of the chunk's
    // first sample.
    void process(LimiterLanes::Chunk& chunk, int count, int writeIndex, const LimiterLanes::BlockSettings& s,
                 Neighbours stages);

private:
    struct ChannelState
    {
        float envelope = 0.0f;
        float smoother[4] = {};
    };

    template <int channelsAlone, bool lowerHalf, bool quantizing>
    void pipeline(LimiterLanes::Chunk& chunk, int count, int writeIndex, const LimiterLanes::BlockSettings& s,
                  Neighbours stages);

    int pairs;
    LimiterLanes::PairedBlocks<ChannelState> state;
    // Per sample of the chunk: the largest held maximum and envelope over
    // the channels.
    std::vector<float> linkedHold;
    std::vector<float> linkedEnvelope;
};
