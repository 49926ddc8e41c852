#pragma once

#include "KWeightingFilter.h"
#include "MasterMeasurement.h"
#include "TruePeakMeter.h"

#include <cstddef>
#include <vector>

// Measures a stream for `palisorne master` (ITU-R BS.1770-4): the K-weighted
// energy of every 100 ms, the true peak per 100 ms and overall, and the peak
// of every 10 ms. Reading the 3 s short-term window of a general meter at every
// 100 ms step would sum each sample thirty times; the energies of the steps
// give every window at the cost of one sum.
class MasterMeter
{
public:
    MasterMeter(int channels, int sampleRate);

    void addFrames(const float* interleaved, size_t frames);
    MasterMeasurement finish();

private:
    void addWithinHop(const float* interleaved, size_t frames);

    std::vector<KWeightingFilter> weighting;
    TruePeakMeter truePeak;
    MasterMeasurement measurement;
    size_t hopFrames;
    size_t framesInHop;
    double hopSum;
    size_t windowFrames;
    size_t framesInWindow;
    float windowPeak;
};
