#include "limiter/CLimiter.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <vector>

// CPU time of every single 512-frame block, so that the cost of a block can
// be compared across material (silence, quiet, heavily limited) and its
// worst blocks against its typical ones: the counters are the median and
// the 99th percentile of the per-block times in microseconds, and their
// ratio. Thread CPU time, so that another process taking the core in the
// middle of a block does not count as the block's cost.
namespace
{
struct Program
{
    float attack;
    float release;
    bool truePeak;
    float ceilingDb;
    float link;
    float saturation;
    int8_t bits;
    float shaping;
};

// Factory program 0, "Palisorne limiter", and 3, "EBU R128 -1 dBTP".
const Program palisorneLimiter{0.04f, 0.5f, false, -0.1f, 0.35f, 0.30f, 0, 0.0f};
const Program ebuR128{0.04f, 0.3f, true, -1.0f, 0.40f, 0.20f, 24, 0.5f};

enum Material
{
    silence,
    quiet, // peaks near -40 dBFS: nothing is limited or saturated
    heavy, // peaks near +10 dBFS: every block is limited, most frames saturate
};

std::vector<std::vector<float>> material(Material kind, double fs, int frames)
{
    const double pi = 3.14159265358979323846;
    const double level = kind == silence ? 0.0 : kind == quiet ? 0.003 : 1.0;
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

double threadSeconds()
{
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

void blockCost(benchmark::State& state, const Program& program, Material kind)
{
    const double fs = 44100.0;
    const int block = 512;
    const int frames = 4 * 44100 / block * block;
    const int blocksPerIteration = 500;
    CLimiter limiter(2);
    limiter.setSampleRate(static_cast<float>(fs));
    limiter.setAttack(program.attack);
    limiter.setRelease(program.release);
    limiter.setLookahead(0.001f);
    limiter.setTruePeak(program.truePeak);
    limiter.setCeiling(program.ceilingDb);
    limiter.setLink(program.link);
    limiter.setSaturation(program.saturation);
    limiter.setNumBits(program.bits);
    limiter.setShaping(program.shaping);

    const auto in = material(kind, fs, frames);
    std::vector<std::vector<float>> out(2, std::vector<float>(static_cast<size_t>(block)));
    float* outputs[2] = {out[0].data(), out[1].data()};
    int pos = 0;
    auto process = [&] {
        const float* inputs[2] = {in[0].data() + pos, in[1].data() + pos};
        limiter.process(inputs, outputs, block);
        pos = pos + 2 * block <= frames ? pos + block : 0;
    };
    for (int i = 0; i < frames / block; ++i)
        process();

    std::vector<double> seconds;
    for (auto _ : state)
    {
        for (int i = 0; i < blocksPerIteration; ++i)
        {
            const double before = threadSeconds();
            process();
            seconds.push_back(threadSeconds() - before);
        }
        benchmark::DoNotOptimize(outputs[0]);
        benchmark::ClobberMemory();
    }
    std::sort(seconds.begin(), seconds.end());
    const double median = seconds[seconds.size() / 2];
    const double p99 = seconds[seconds.size() * 99 / 100];
    state.counters["median_us"] = 1e6 * median;
    state.counters["p99_us"] = 1e6 * p99;
    state.counters["p99_over_median"] = p99 / median;
    state.counters["realtime_factor"] = (block / fs) / median;
}
}

BENCHMARK_CAPTURE(blockCost, program0_silence, palisorneLimiter, silence)->Iterations(8);
BENCHMARK_CAPTURE(blockCost, program0_quiet, palisorneLimiter, quiet)->Iterations(8);
BENCHMARK_CAPTURE(blockCost, program0_heavy, palisorneLimiter, heavy)->Iterations(8);
BENCHMARK_CAPTURE(blockCost, program3_silence, ebuR128, silence)->Iterations(8);
BENCHMARK_CAPTURE(blockCost, program3_quiet, ebuR128, quiet)->Iterations(8);
BENCHMARK_CAPTURE(blockCost, program3_heavy, ebuR128, heavy)->Iterations(8);
