#pragma once

#include "blocks/ChannelLanes.h"
#include "limiter/CISPDetector.h"

#include <initializer_list>

// Up to four detectors side by side for a block, with histories and
// held peaks in registers; finish() stores them back.
class CISPDetector::Lanes
{
public:
    Lanes(CISPDetector* const* detectors, int count)
        : detectors(detectors), count(count), peak(ChannelLanes::gather(detectors, count, peakOf))
    {
        for (int k = 0; k < historyLength; ++k)
            history[k] = ChannelLanes::gather(detectors, count, [k](CISPDetector* d) -> float& { return d->history[k]; });
    }

    void process(__m128 x)
    {
        history[3] = history[2];
        history[2] = history[1];
        history[1] = history[0];
        history[0] = x;
        peak = largestMagnitude(history[0], history[1], history[2], history[3], peak);
    }

    // Pairs of samples of at most two channels: ahead(p) gives pair p,
    // the first sample's channels in lanes 0-1 and the second's in lanes
    // 2-3, and take(p, peaks) receives, in the same lanes, the peak a
    // read after each sample would return. Each lane runs the arithmetic
    // of process(), so these are its bits. For detectors whose peak is
    // read after every sample (the held peak must be 0).
    template <typename Ahead, typename Take>
    void processPairs(int pairs, Ahead ahead, Take take)
    {
        // The history in locals of the loop, so that it stays in
        // registers.
        __m128 newest = history[0];
        __m128 second = history[1];
        __m128 third = history[2];
        __m128 fourth = history[3];
        for (int p = 0; p < pairs; ++p)
        {
            const __m128 x = ahead(p);
            const __m128 h1 = _mm_movelh_ps(newest, x);
            const __m128 h2 = _mm_movelh_ps(second, newest);
            const __m128 h3 = _mm_movelh_ps(third, second);
            fourth = second;
            third = newest;
            second = x;
            newest = _mm_movehl_ps(x, x);
            take(p, largestMagnitude(x, h1, h2, h3, _mm_setzero_ps()));
        }
        history[0] = newest;
        history[1] = second;
        history[2] = third;
        history[3] = fourth;
    }

    // The held peaks, which restart from 0.
    __m128 readPeak()
    {
        const __m128 held = peak;
        peak = _mm_setzero_ps();
        return held;
    }

    void finish()
    {
        ChannelLanes::scatter(detectors, count, peakOf, peak);
        for (int k = 0; k < historyLength; ++k)
            ChannelLanes::scatter(detectors, count, [k](CISPDetector* d) -> float& { return d->history[k]; }, history[k]);
    }

private:
    // The largest of peak and the magnitudes around h1, taken in this
    // order: a later value replaces the held one only when it is larger.
    // h0 is the newest sample, h3 the oldest.
    static __m128 largestMagnitude(__m128 h0, __m128 h1, __m128 h2, __m128 h3, __m128 peak)
    {
        // Four-tap polyphase interpolation at a quarter, a half and three
        // quarters of the way from h1 to h2 (the outer two are mirror
        // images), each summed left to right.
        const __m128 threeQuarterWay =
            _mm_sub_ps(_mm_add_ps(_mm_add_ps(times(-0.033620026f, h0), times(0.23381723f, h1)), times(0.9010235f, h2)),
                times(0.10642114f, h3));
        const __m128 halfWay = _mm_add_ps(times(-0.08734027f, _mm_add_ps(h0, h3)), times(0.58519703f, _mm_add_ps(h1, h2)));
        const __m128 quarterWay =
            _mm_sub_ps(_mm_add_ps(_mm_add_ps(times(-0.10642114f, h0), times(0.9010235f, h1)), times(0.23381723f, h2)),
                times(0.033620026f, h3));
        // h1 itself through a short symmetric correction.
        const __m128 atSample = _mm_add_ps(times(-0.013404376f, _mm_add_ps(h0, h2)), times(1.028367f, h1));

        using ChannelLanes::magnitude;
        for (const __m128 m : {magnitude(h1), magnitude(threeQuarterWay), magnitude(halfWay),
                 magnitude(quarterWay), magnitude(atSample)})
            peak = _mm_max_ps(m, peak);
        return peak;
    }

    static float& peakOf(CISPDetector* d) { return d->peak; }
    static __m128 times(float c, __m128 v) { return _mm_mul_ps(_mm_set1_ps(c), v); }

    CISPDetector* const* detectors;
    int count;
    __m128 peak;
    __m128 history[4];
};
