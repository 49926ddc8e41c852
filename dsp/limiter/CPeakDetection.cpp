#include "limiter/CPeakDetection.h"

#include "blocks/ChannelLanes.h"
#include "limiter/CISPDetectorLanes.h"

using namespace LimiterLanes;

CPeakDetection::CPeakDetection(int channels) : detector(channels, 44100.0f)
{
}

void CPeakDetection::update(float sampleRate)
{
    detector.forEach([sampleRate](CISPDetector& d) { d.setSampleRate(sampleRate); });
}

void CPeakDetection::clear()
{
    detector.forEach([](CISPDetector& d) { d.clear(); });
}

void CPeakDetection::process(Chunk& lanes, const LaneFrame* delay, int count, int writeIndex, const BlockSettings& s)
{
    const int detectionOffset = s.lookahead + lead(s.truePeak) + 1;
    const __m128 detectionGain = _mm_set1_ps(s.detectionGain);
    const __m128 ceiling = _mm_set1_ps(s.ceiling);
    CISPDetector::Lanes detectors(detector.pair(lanes.first / pairWidth), lanes.count);
    // Two samples per register.
    const int firstRead = writeIndex + detectionOffset;
    const int pairs = count / 2;
    const auto ahead = [&](int p) {
        const int r = (firstRead + 2 * p) & delayMask;
        return _mm_mul_ps(ChannelLanes::loadPair(delay[r], delay[(r + 1) & delayMask]), detectionGain);
    };
    // max(d, ceiling), keeping d when it is NaN as std::max does.
    const auto take = [&](int p, __m128 d) {
        ChannelLanes::storePair(lanes.held[2 * p], lanes.held[2 * p + 1], _mm_max_ps(ceiling, d));
    };
    if (s.truePeak)
        detectors.processPairs(pairs, ahead, take);
    else
        for (int p = 0; p < pairs; ++p)
            take(p, ChannelLanes::magnitude(ahead(p)));
    int i = 2 * pairs;
    for (int w = (writeIndex + i) & delayMask; i < count; ++i, w = (w + 1) & delayMask)
    {
        const __m128 x = _mm_mul_ps(_mm_load_ps(delay[(w + detectionOffset) & delayMask]), detectionGain);
        __m128 d;
        if (s.truePeak)
        {
            detectors.process(x);
            d = detectors.readPeak();
        }
        else
        {
            d = ChannelLanes::magnitude(x);
        }
        _mm_store_ps(lanes.held[i], _mm_max_ps(ceiling, d));
    }
    if (s.truePeak)
        detectors.finish();
}
