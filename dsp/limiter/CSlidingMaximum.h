#pragma once

#include "blocks/LaneFrame.h"

// The limiter's sliding maximum for a pair of channels, lanes 0-1 of each
// frame (lanes 2-3 carry nothing and may be left with any value): a
// circular buffer of detection values per channel and the held maximum over
// the last lookahead+1 of them.
//
// The hold rule, per channel: a value at or above the held maximum takes
// over the hold for `lookahead` samples; when the hold runs out, the window
// of buffer positions w+1 .. w+lookahead+1 (w: the delay line's write index)
// is rescanned, and its largest value at or above the ceiling becomes the
// held maximum (the latest of equal values, so the hold lasts as long as
// possible), else the ceiling itself. New values are written `lead`
// positions past the window's newest position, so with a lead of 1 (the
// true-peak detector's delay) the newest value is just outside the window.
//
// Rather than rescanning, a block is worked through in passes that find
// every sample's "latest of the largest" in its window, whatever the
// signal, without a branch on the data: the window contents of the whole
// block are laid out in entering order (first the buffer as it stands, then
// the block's own values as they enter), cut into segments of one window
// length, and each window is the end of one segment and the start of the
// next. The latest largest value of a segment's end is found scanning
// backwards, of its start scanning forwards, and the later of the two wins
// a tie; only the hold rule itself runs sample by sample. Comparisons only:
// the held maxima are the bits of the rescan. The scans take two segments
// per register, the other passes two frames where they can.
class CSlidingMaximum
{
public:
    static constexpr int length = 512;
    static constexpr int mask = length - 1;
    static constexpr int lanes = ChannelLanes::width;
    static constexpr int channels = 2;
    // The most samples one call to process() takes.
    static constexpr int maxBlock = 512;
    using LaneFrame = ChannelLanes::Frame;

    CSlidingMaximum();

    // Zeroes the buffers and the holds of all lanes.
    void clear();

    // One block: detection[i] holds the channels' detection values of sample
    // i, held[i] receives their held maxima (it may be the same array). The
    // block's first sample has the write index writeIndex; count is at most
    // maxBlock, lookahead + 1 + lead below the buffer length.
    void process(const LaneFrame* detection, LaneFrame* held, int count, int writeIndex, int lookahead, int lead,
                 float ceiling);

    // The same in two parts, for a caller that takes the held maxima sample
    // by sample inside work of its own: first what a rescan of each
    // sample's window would find, then the hold rule through a Hold.
    void findRescans(const LaneFrame* detection, int count, int writeIndex, int lookahead, int lead, float ceiling);

    // The hold rule over the block findRescans() prepared, sample by
    // sample (CSlidingMaximumHold.h).
    class Hold;

private:
    // Entries of the work arrays: the block's window contents, and room for
    // a last segment scanned past them.
    static constexpr int workLength = 2 * length + maxBlock;

    // Detection values per buffer position, one per lane.
    alignas(16) LaneFrame values[length];
    alignas(16) float holdMax[lanes];
    alignas(16) int holdCount[lanes];

    // Work arrays of process(): the window contents in entering order, and
    // for each entry the latest largest value from it to the end of its
    // segment with where that value entered, which become what a rescan of
    // a window finds and the samples it would hold.
    alignas(16) LaneFrame entering[workLength];
    alignas(16) LaneFrame segmentEndMax[workLength];
    alignas(16) int segmentEndAt[workLength][lanes];
};
