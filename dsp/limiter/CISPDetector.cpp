#include "limiter/CISPDetector.h"

#include "limiter/CISPDetectorLanes.h"

#include <algorithm>
#include <iterator>

CISPDetector::CISPDetector(float sampleRate)
{
    setSampleRate(sampleRate);
}

void CISPDetector::process(const float* x)
{
    CISPDetector* const self = this;
    Lanes lanes(&self, 1);
    lanes.process(_mm_set_ss(*x));
    lanes.finish();
}

void CISPDetector::process(const float* x, int count)
{
    for (int i = 0; i < count; ++i)
        process(x + i);
}

void CISPDetector::clear()
{
    peak = 0.0f;
    std::fill(std::begin(history), std::end(history), 0.0f);
}

// The interpolation works in samples: nothing depends on the rate.
void CISPDetector::setSampleRate(float)
{
    clear();
}
