#pragma once

// One-pole low-pass for one channel, designed from a normalised corner
// frequency with an arctangent pre-warp. A new filter passes its input
// unchanged until a frequency is set.
class C1LPF
{
public:
    // Up to four filters side by side (C1LPFLanes.h); the scalar process()
    // is one lane of it.
    class Lanes;

    C1LPF();
    virtual ~C1LPF() = default;

    virtual void process(float* sample);
    virtual void clear();
    virtual void setNormFreq(float normFreq);
    virtual void setTimeConstant(float seconds, float sampleRate);

protected:
    float pole;
    float state;
};
