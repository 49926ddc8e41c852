#pragma once

// Inter-sample (true) peak estimate of one channel: three interpolated
// points between neighbouring samples (4x oversampling) plus a corrected
// value at the sample itself; the largest magnitude is held until read.
class CISPDetector
{
public:
    // Up to four detectors side by side (CISPDetectorLanes.h); the scalar
    // process() is one lane of it.
    class Lanes;

    explicit CISPDetector(float sampleRate);
    virtual ~CISPDetector() = default;

    // One sample; the estimate concerns the previous sample (latency 1).
    virtual void process(const float* x);
    virtual void process(const float* x, int count);
    virtual void clear();
    virtual void setSampleRate(float fs);
    // Returns the held peak and resets it to 0.
    virtual float readPeak()
    {
        const float held = peak;
        peak = 0.0f;
        return held;
    }
    // The estimate concerns the sample before the newest.
    virtual int getLatency() const { return 1; }

private:
    static constexpr int historyLength = 4;

    float history[historyLength]; // newest first
    float peak;
};
