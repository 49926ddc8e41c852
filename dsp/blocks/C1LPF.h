#pragma once

// One-pole low-pass for one channel, designed from a normalised corner
// frequency with an arctangent pre-warp. A new filter passes its input
// unchanged until a frequency is set.
class C1LPF
{
public:
    C1LPF();
    virtual ~C1LPF() = default;

    virtual void process(float* sample);
    virtual void clear();
    virtual void setNormFreq(float normFreq);
    virtual void setTimeConstant(float seconds, float sampleRate);
    // Squared magnitude of the matching analogue one-pole at normFreq.
    virtual float getPowerResponse(float normFreq) const;

    float getPole() const { return pole; }

protected:
    float pole;
    float state;
    float normFreq;
};
