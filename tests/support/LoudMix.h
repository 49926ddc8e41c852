#pragma once

#include <cstdint>

// Loud stereo material for driving the plug-in as a hot mix bus would, made
// from arithmetic alone so that every run hears the same: bass and lead
// tones, noise and decaying drum hits, alternating every half second with a
// quarter-rate sine sampled 45 degrees off its peaks, whose true peak lies
// 3 dB above its samples. Peaks near +10 dBFS at gain 1.
class LoudMix
{
public:
    LoudMix(double sampleRate, uint32_t seed) : rate(sampleRate), noiseState(seed) {}

    // The next frames samples of both channels, times gain.
    void render(float* left, float* right, int frames, float gain = 1.0f);

private:
    double rate;
    uint32_t noiseState;
    int64_t position = 0;
};
