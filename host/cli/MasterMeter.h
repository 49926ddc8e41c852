#pragma once

#include "MasterMeasurement.h"
#include "TruePeakMeter.h"

#include <ebur128.h>

#include <cstddef>

// Measures a stream for `palisorne master`: libebur128 K-weights and keeps
// the short-term and momentary windows and the loudness range; the true peak
// comes from our own interpolator, which is several times faster than
// libebur128's. The momentary loudness read at each 100 ms step is the
// energy of the gating block that ends there.
class MasterMeter
{
public:
    MasterMeter(int channels, int sampleRate);
    ~MasterMeter();
    MasterMeter(const MasterMeter&) = delete;
    MasterMeter& operator=(const MasterMeter&) = delete;

    void addFrames(const float* interleaved, size_t frames);
    MasterMeasurement finish();

private:
    void addWithinHop(const float* interleaved, size_t frames);
    void endHop();

    ebur128_state* state;
    TruePeakMeter truePeak;
    MasterMeasurement measurement;
    size_t hopFrames;
    size_t framesInHop;
    long long hops;
    size_t windowFrames;
    size_t framesInWindow;
    float windowPeak;
};
