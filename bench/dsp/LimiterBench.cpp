#include "limiter/CLimiter.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <vector>

namespace
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

void apply(CLimiter& limiter, const Program& p)
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

// A loud stereo mix, peaking near +10 dBFS so that every block is limited
// and most frames saturate: bass and lead tones, noise and drum hits.
std::vector<std::vector<float>> loudMix(double fs, int frames)
{
    const double pi = 3.14159265358979323846;
    std::vector<std::vector<float>> mix(2, std::vector<float>(static_cast<size_t>(frames)));
    uint32_t state = 12345u;
    for (int n = 0; n < frames; ++n)
    {
        state = state * 1664525u + 1013904223u;
        const double noise = static_cast<double>(state >> 8) / 8388608.0 - 1.0;
        const double t = n / fs;
        const int sinceHit = n % static_cast<int>(fs / 4.0);
        const double hit = 1.5 * std::exp(-sinceHit / (0.01 * fs)) * noise;
        for (int ch = 0; ch < 2; ++ch)
            mix[ch][n] = static_cast<float>(1.2 * std::sin(2.0 * pi * (55.0 + 27.5 * ch) * t)
                + 0.6 * std::sin(2.0 * pi * 440.0 * t + ch) + 0.3 * noise + hit);
    }
    return mix;
}

// CLimiter::process on stereo blocks of 512 frames. "realtime_factor" is
// seconds of audio processed per second of CPU time.
void limiterProcess(benchmark::State& state, const Program& program)
{
    const double fs = static_cast<double>(state.range(0));
    const int block = 512;
    const int frames = 1 << 17;
    CLimiter limiter(2);
    limiter.setSampleRate(static_cast<float>(fs));
    apply(limiter, program);
    const auto in = loudMix(fs, frames);
    std::vector<std::vector<float>> out(2, std::vector<float>(static_cast<size_t>(frames)));
    const float* inputs[2];
    float* outputs[2];
    auto process = [&](int pos) {
        for (int ch = 0; ch < 2; ++ch)
        {
            inputs[ch] = in[ch].data() + pos;
            outputs[ch] = out[ch].data() + pos;
        }
        limiter.process(inputs, outputs, block);
    };
    // Warm up: frames, delay lines and envelopes full of loud audio.
    for (int pos = 0; pos + block <= frames; pos += block)
        process(pos);

    int pos = 0;
    int64_t processed = 0;
    for (auto _ : state)
    {
        process(pos);
        benchmark::DoNotOptimize(outputs[0]);
        benchmark::ClobberMemory();
        pos = pos + 2 * block <= frames ? pos + block : 0;
        processed += block;
    }
    state.SetItemsProcessed(processed);
    state.counters["realtime_factor"] = benchmark::Counter(static_cast<double>(processed) / fs, benchmark::Counter::kIsRate);
}
}

BENCHMARK_CAPTURE(limiterProcess, program0, palisorneLimiter)->ArgName("rate")->Arg(44100)->Arg(48000)->Arg(96000);
BENCHMARK_CAPTURE(limiterProcess, program3, ebuR128)->ArgName("rate")->Arg(44100)->Arg(48000)->Arg(96000);
