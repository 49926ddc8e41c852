#pragma once

#include "LimiterSettings.h"
#include "limiter/CLimiter.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <vector>

// The loud generated mix the benchmarks run the factory programs on (0, sample
// peaks without word length; 3, true peaks with 24 bits and shaping), shared
// so that every figure concerns the same job.
namespace bench
{
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

// A stereo limiter on a factory program, fed that mix at `level` in blocks of
// 512 frames, round and round. One pass on construction fills its frames,
// delay lines and envelopes with the material.
class LimiterOnLoop
{
public:
    static constexpr int block = 512;

    LimiterOnLoop(double fs, int program, int frames, double level = 1.0)
        : limiter(2)
        , in(loudMix(fs, frames, level))
        , out(2, std::vector<float>(block))
        , frames(frames)
    {
        limiter.setSampleRate(static_cast<float>(fs));
        applyFactoryProgram(limiter, program);
        for (int i = 0; i < frames / block; ++i)
            processNextBlock();
    }

    void processNextBlock()
    {
        const float* inputs[2] = {in[0].data() + pos, in[1].data() + pos};
        float* outputs[2] = {out[0].data(), out[1].data()};
        limiter.process(inputs, outputs, block);
        benchmark::DoNotOptimize(out[0].data());
        benchmark::ClobberMemory();
        pos = pos + 2 * block <= frames ? pos + block : 0;
    }

private:
    CLimiter limiter;
    std::vector<std::vector<float>> in;
    std::vector<std::vector<float>> out;
    int frames;
    int pos = 0;
};
}
