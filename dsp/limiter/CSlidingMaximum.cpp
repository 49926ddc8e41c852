#include "limiter/CSlidingMaximum.h"

#include "blocks/ChannelLanes.h"
#include "limiter/CSlidingMaximumHold.h"

#include <algorithm>
#include <iterator>
#include <cstring>
#include <limits>

namespace
{
using ChannelLanes::select;
using ChannelLanes::selectInt;

// Two entries a and b of the pair's frames in one register: a's channels
// in lanes 0-1, b's in lanes 2-3; and two entry indices the same way.
__m128i loadIndices(const int* a, const int* b)
{
    return _mm_castps_si128(ChannelLanes::loadPair(reinterpret_cast<const float*>(a), reinterpret_cast<const float*>(b)));
}

void storeIndices(int* a, int* b, __m128i v)
{
    ChannelLanes::storePair(reinterpret_cast<float*>(a), reinterpret_cast<float*>(b), _mm_castsi128_ps(v));
}

__m128i indexPair(int a, int b)
{
    return _mm_set_epi32(b, b, a, a);
}

// Calls scan(a, b) with the first entries of segments taken in twos, an
// odd last one paired with itself.
template <typename Scan>
void forSegmentPairs(int segments, int window, Scan scan)
{
    for (int k = 0; k < segments; k += 2)
        scan(k * window, std::min(k + 1, segments - 1) * window);
}
}

CSlidingMaximum::CSlidingMaximum()
{
    clear();
}

void CSlidingMaximum::clear()
{
    std::memset(values, 0, sizeof values);
    std::fill(std::begin(holdMax), std::end(holdMax), 0.0f);
    std::fill(std::begin(holdCount), std::end(holdCount), 0);
    // The passes read past the block into these; keep that defined.
    std::memset(entering, 0, sizeof entering);
    std::memset(segmentEndMax, 0, sizeof segmentEndMax);
    std::memset(segmentEndAt, 0, sizeof segmentEndAt);
}

void CSlidingMaximum::process(const LaneFrame* detection, LaneFrame* held, int count, int writeIndex, int lookahead,
                              int lead, float ceiling)
{
    findRescans(detection, count, writeIndex, lookahead, lead, ceiling);
    Hold hold(*this, detection, lookahead);
    for (int n = 0; n < count; ++n)
        _mm_store_ps(held[n], hold.next(n));
    hold.finish(count);
}

void CSlidingMaximum::findRescans(const LaneFrame* detection, int count, int writeIndex, int lookahead, int lead,
                                  float ceiling)
{
    const int window = lookahead + 1;
    // Entry m is buffer position writeIndex + 1 + m as it enters the window,
    // at sample m - lookahead. The first lookahead + lead entries stand in the
    // buffer already; after them come the block's own values, each entering
    // `lead` samples after it was written.
    // A rescan never takes a NaN; as -infinity in `entering` it never wins
    // a comparison either, so the scans below can take maxima.
    const __m128 nothing = _mm_set1_ps(-std::numeric_limits<float>::infinity());
    const auto enter = [&](int m, __m128 v) { _mm_store_ps(entering[m], select(_mm_cmpord_ps(v, v), v, nothing)); };
    const int entries = lookahead + count;
    const int known = std::min(lookahead + lead, entries);
    for (int m = 0; m < known; ++m)
        enter(m, _mm_load_ps(values[(writeIndex + 1 + m) & mask]));
    // The block's own values two frames per register.
    int m = known;
    for (; m + 1 < entries; m += 2)
    {
        const __m128 v = ChannelLanes::loadPair(detection[m - known], detection[m + 1 - known]);
        ChannelLanes::storePair(entering[m], entering[m + 1], select(_mm_cmpord_ps(v, v), v, nothing));
    }
    if (m < entries)
        enter(m, _mm_load_ps(detection[m - known]));
    const int firstWritten = (writeIndex + window + lead) & mask;
    const int beforeWrap = std::min(count, length - firstWritten);
    std::memcpy(values[firstWritten], detection, sizeof(LaneFrame) * size_t(beforeWrap));
    std::memcpy(values[0], detection + beforeWrap, sizeof(LaneFrame) * size_t(count - beforeWrap));

    const __m128i one = _mm_set1_epi32(1);
    // The arrays below are kept by the window's newest entry: sample n's
    // window is entries n .. n + lookahead, and its results go to index
    // n + lookahead.

    // Backwards through each segment that holds a window's oldest entry: the
    // latest largest value from every entry to the segment's end. An earlier
    // value replaces it only when larger (max(v, best) keeps best on a tie).
    forSegmentPairs((count - 1) / window + 1, window, [&](int a, int b) {
        __m128 best = nothing;
        __m128i bestAt = _mm_setzero_si128();
        __m128i at = indexPair(a + lookahead, b + lookahead);
        for (int j = lookahead; j >= 0; --j, at = _mm_sub_epi32(at, one))
        {
            const __m128 v = ChannelLanes::loadPair(entering[a + j], entering[b + j]);
            bestAt = selectInt(_mm_cmpgt_ps(v, best), at, bestAt);
            best = _mm_max_ps(v, best);
            ChannelLanes::storePair(segmentEndMax[a + j + lookahead], segmentEndMax[b + j + lookahead], best);
            storeIndices(segmentEndAt[a + j + lookahead], segmentEndAt[b + j + lookahead], bestAt);
        }
    });

    // Forwards through each segment that holds a window's newest entry: the
    // latest largest value from the segment's start up to every entry; a
    // later value replaces it when at least as large (max(start, v) takes v
    // on a tie). With it, what a rescan of the window finds: the later part
    // (the start of the next segment) wins a tie, and below the ceiling the
    // ceiling itself with a full hold. That replaces the segment end's entry.
    // Entries before the first window's newest, and past the block's last,
    // are scanned for the running maximum only; what they store is not read.
    const __m128 ceil = _mm_set1_ps(ceiling);
    forSegmentPairs((entries - 1) / window + 1, window, [&](int a, int b) {
        __m128 start = nothing;
        __m128i startAt = _mm_setzero_si128();
        __m128i at = indexPair(a, b);
        for (int j = 0; j < window; ++j, at = _mm_add_epi32(at, one))
        {
            const __m128 v = ChannelLanes::loadPair(entering[a + j], entering[b + j]);
            startAt = selectInt(_mm_cmpge_ps(v, start), at, startAt);
            start = _mm_max_ps(start, v);

            const __m128 end = ChannelLanes::loadPair(segmentEndMax[a + j], segmentEndMax[b + j]);
            const __m128i endAt = loadIndices(segmentEndAt[a + j], segmentEndAt[b + j]);
            const __m128i largestAt = selectInt(_mm_cmpge_ps(start, end), startAt, endAt);
            const __m128 largest = _mm_max_ps(end, start);
            // (A select rather than a maximum: a NaN ceiling is what the
            // rescan holds then.)
            const __m128 found = _mm_cmpge_ps(largest, ceil);
            // The hold lasts until the sample at which the largest value's
            // entry is the oldest, which is the entry's index; a full hold
            // until the sample at which today's newest entry is.
            ChannelLanes::storePair(segmentEndMax[a + j], segmentEndMax[b + j], select(found, largest, ceil));
            storeIndices(segmentEndAt[a + j], segmentEndAt[b + j], selectInt(found, largestAt, at));
        }
    });
}
