#include "limiter/CSlidingMaximum.h"

#include <algorithm>
#include <iterator>
#include <cstring>
#include <limits>

namespace
{
using ChannelLanes::select;

__m128i selectInt(__m128 mask, __m128i a, __m128i b)
{
    const __m128i m = _mm_castps_si128(mask);
    return _mm_or_si128(_mm_and_si128(m, a), _mm_andnot_si128(m, b));
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
}

void CSlidingMaximum::process(const LaneFrame* detection, LaneFrame* held, int count, int writeIndex, int lookahead,
                              int lead, float ceiling)
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
    for (int m = known; m < entries; ++m)
        enter(m, _mm_load_ps(detection[m - known]));
    for (int i = 0; i < count; ++i)
        _mm_store_ps(values[(writeIndex + window + lead + i) & mask], _mm_load_ps(detection[i]));

    // Backwards through each segment: the latest largest value from every
    // entry to the segment's end. An earlier value replaces it only when
    // larger (max(v, best) keeps best on a tie).
    const int lastNeeded = (count - 1) / window * window + window - 1;
    __m128 best = nothing;
    __m128i bestAt = _mm_setzero_si128();
    for (int m = lastNeeded, toSegmentStart = 0; m >= 0; --m, --toSegmentStart)
    {
        if (toSegmentStart == 0)
        {
            best = nothing;
            toSegmentStart = window;
        }
        const __m128 v = _mm_load_ps(entering[m]);
        bestAt = selectInt(_mm_cmpgt_ps(v, best), _mm_set1_epi32(m), bestAt);
        best = _mm_max_ps(v, best);
        _mm_store_ps(segmentEndMax[m], best);
        _mm_store_si128(reinterpret_cast<__m128i*>(segmentEndAt[m]), bestAt);
    }

    // Forwards: the latest largest value from the start of the segment of
    // the window's newest entry up to that entry; a later value replaces it
    // when at least as large (max(start, v) takes v on a tie). The segment of
    // entry `lookahead` starts at 0.
    __m128 start = nothing;
    __m128i startAt = _mm_setzero_si128();
    for (int m = 0; m < lookahead; ++m)
    {
        const __m128 v = _mm_load_ps(entering[m]);
        startAt = selectInt(_mm_cmpge_ps(v, start), _mm_set1_epi32(m), startAt);
        start = _mm_max_ps(start, v);
    }

    const __m128 ceil = _mm_set1_ps(ceiling);
    const __m128i fullHold = _mm_set1_epi32(lookahead);
    __m128 hold = _mm_load_ps(holdMax);
    __m128i left = _mm_load_si128(reinterpret_cast<const __m128i*>(holdCount));
    for (int n = 0, newest = lookahead, toSegmentEnd = 1; n < count; ++n, ++newest, --toSegmentEnd)
    {
        if (toSegmentEnd == 0)
        {
            start = nothing;
            toSegmentEnd = window;
        }
        const __m128 v = _mm_load_ps(entering[newest]);
        startAt = selectInt(_mm_cmpge_ps(v, start), _mm_set1_epi32(newest), startAt);
        start = _mm_max_ps(start, v);

        // What a rescan of the window n .. n + lookahead finds: the later
        // part (the start of the next segment) wins a tie, and below the
        // ceiling the ceiling itself with a full hold.
        const __m128 end = _mm_load_ps(segmentEndMax[n]);
        const __m128i endAt = _mm_load_si128(reinterpret_cast<const __m128i*>(segmentEndAt[n]));
        const __m128i largestAt = selectInt(_mm_cmpge_ps(start, end), startAt, endAt);
        const __m128 largest = _mm_max_ps(end, start);
        // (A select rather than a maximum: a NaN ceiling is what the rescan
        // holds then.)
        const __m128 found = _mm_cmpge_ps(largest, ceil);
        const __m128 rescanMax = select(found, largest, ceil);
        const __m128i rescanLeft = selectInt(found, _mm_sub_epi32(largestAt, _mm_set1_epi32(n)), fullHold);

        // The hold rule.
        const __m128 d = _mm_load_ps(detection[n]);
        const __m128 newMax = _mm_cmpge_ps(d, hold);
        const __m128i decremented = _mm_sub_epi32(left, _mm_set1_epi32(1));
        const __m128 expired =
            _mm_andnot_ps(newMax, _mm_castsi128_ps(_mm_cmplt_epi32(decremented, _mm_setzero_si128())));
        hold = select(newMax, d, select(expired, rescanMax, hold));
        left = selectInt(newMax, fullHold, selectInt(expired, rescanLeft, decremented));
        _mm_store_ps(held[n], hold);
    }
    _mm_store_ps(holdMax, hold);
    _mm_store_si128(reinterpret_cast<__m128i*>(holdCount), left);
}
