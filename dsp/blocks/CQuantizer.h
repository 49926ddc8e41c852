#pragma once

#include <atomic>
#include <cstdint>

// Dither generator shared by every quantizer in the process (all channels,
// all plug-in instances): a linear congruential generator that starts at 0
// when the module is loaded and is never reseeded. Races between instances
// only reorder the dither sequence.
extern std::atomic<uint32_t> randState;
// Advances randState and returns an integer 0..32767.
int nextRandom();

// Word-length reduction of one channel with rectangular dither and a
// second-order error-feedback noise shaper shaped like a low shelf.
class CQuantizer
{
public:
    CQuantizer();
    virtual ~CQuantizer() = default;

    virtual void process(float* sample);
    virtual void clear();
    virtual void setWordLength(int8_t bits);
    virtual void setShaping(float amount);
    virtual void setRate(float fs);

    float getRate() const { return sampleRate; }
    int8_t getWordLength() const { return bits; }

private:
    void updateCoefficients();

    float sampleRate;
    int8_t bits;
    float shaping;
    float scale;
    float invScale;
    float a1, a2;
    float c1, c2;
    float s0, s1, s2;
};
