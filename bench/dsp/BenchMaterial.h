#pragma once

#include "limiter/CLimiter.h"

#include <cmath>
#include <cstdint>
#include <vector>

// The factory settings the benchmarks run and the loud generated mix they
// run on, shared so that every figure concerns the same job.
namespace bench
{
struct Program
{
    float inputGainDb;
    float attack;
    float release;
    float lookahead;
    bool truePeak;
    float ceilingDb;
    float link;
    bool aes17;
    bool monitor;
    float saturation;
    int8_t bits;
    float shaping;
};

// Factory program 0, "Palisorne limiter": sample peaks, no word length.
const Program palisorneLimiter{0.0f, 0.04f, 0.5f, 0.001f, false, -0.1f, 0.35f, true, false, 0.30f, 0, 0.0f};
// Factory program 3, "EBU R128 -1 dBTP": true peaks, 24 bits with shaping.
const Program ebuR128{0.0f, 0.04f, 0.3f, 0.001f, true, -1.0f, 0.40f, true, false, 0.20f, 24, 0.5f};

inline void apply(CLimiter& limiter, const Program& p)
{
    limiter.setInputGain(p.inputGainDb);
    limiter.setAttack(p.attack);
    limiter.setRelease(p.release);
    limiter.setLookahead(p.lookahead);
    limiter.setTruePeak(p.truePeak);
    limiter.setCeiling(p.ceilingDb);
    limiter.setLink(p.link);
    limiter.setAES17(p.aes17);
    limiter.setMonitor(p.monitor);
    limiter.setSaturation(p.saturation);
    limiter.setNumBits(p.bits);
    limiter.setShaping(p.shaping);
}

// A stereo mix of bass and lead tones, noise and drum hits; at level 1 it
// peaks near +10 dBFS, so that every block is limited and most frames
// saturate.
inline std::vector<std::vector<float>> loudMix(double fs, int frames, double level = 1.0)
{
    const double pi = 3.14159265358979323846;
    std::vector<std::vector<float>> mix(2, std::vector<float>(static_cast<size_t>(frames)));
    uint32_t state = 12345u;
    for (int n = 0; n < frames; ++n)
    {
        state = state * 1664525u + 1013904223u;
        const double noise = static_cast<double>(state >> 8) / 8388608.0 - 1.0;
        const double t = n / fs;
        const double hit = 1.5 * std::exp(-(n % static_cast<int>(fs / 4.0)) / (0.01 * fs)) * noise;
        for (int ch = 0; ch < 2; ++ch)
            mix[ch][n] = static_cast<float>(level
                * (1.2 * std::sin(2.0 * pi * (55.0 + 27.5 * ch) * t) + 0.6 * std::sin(2.0 * pi * 440.0 * t + ch)
                    + 0.3 * noise + hit));
    }
    return mix;
}
}
