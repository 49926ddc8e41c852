#pragma once

#include "blocks/C1LPF.h"

// Inter-sample (true) peak estimate of one channel: three interpolated
// points between neighbouring samples (4x oversampling) plus a corrected
// value at the sample itself; the largest magnitude is held until read.
class CISPDetector
{
public:
    explicit CISPDetector(float sampleRate);
    virtual ~CISPDetector() = default;

    // One sample; the estimate concerns the previous sample (latency 1).
    virtual void process(const float* x);
    virtual void process(const float* x, int count);
    virtual void clear();
    virtual void setSampleRate(float fs);
    // Returns the held peak and resets it to 0.
    virtual float readPeak();
    virtual int getLatency() const;

private:
    float history[4]; // newest first
    float peak;
    int latency;
    C1LPF lowpass;
};
