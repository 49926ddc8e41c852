#pragma once

#include <cstdint>

// Common base of the multichannel processors: channel counts and a sample
// rate kept within the range every unit is designed for.
class CProcessor
{
public:
    CProcessor(int inputs, int outputs);
    virtual ~CProcessor() = default;

    virtual void process(const float* const* in, float* const* out, int frames);
    virtual void clear();
    // Clamps; a rate equal to the stored one changes nothing, any other
    // recomputes everything (update) and flushes all audio state (clear).
    virtual void setSampleRate(float rate);
    virtual float getSampleRate() const;
    virtual void update();

protected:
    int8_t numInputs;
    int8_t numOutputs;
    float fs;
};
