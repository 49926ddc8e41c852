#include "BenchMaterial.h"

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
enum Material
{
    silence,
    quiet, // peaks near -40 dBFS: nothing is limited or saturated
    heavy, // peaks near +10 dBFS: every block is limited, most frames saturate
};

std::vector<std::vector<float>> material(Material kind, double fs, int frames)
{
    return bench::loudMix(fs, frames, kind == silence ? 0.0 : kind == quiet ? 0.003 : 1.0);
}

double threadSeconds()
{
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

void blockCost(benchmark::State& state, int program, Material kind)
{
    const double fs = 44100.0;
    const int block = 512;
    const int frames = 4 * 44100 / block * block;
    const int blocksPerIteration = 500;
    CLimiter limiter(2);
    limiter.setSampleRate(static_cast<float>(fs));
    applyFactoryProgram(limiter, program);

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

BENCHMARK_CAPTURE(blockCost, program0_silence, 0, silence)->Iterations(8);
BENCHMARK_CAPTURE(blockCost, program0_quiet, 0, quiet)->Iterations(8);
BENCHMARK_CAPTURE(blockCost, program0_heavy, 0, heavy)->Iterations(8);
BENCHMARK_CAPTURE(blockCost, program3_silence, 3, silence)->Iterations(8);
BENCHMARK_CAPTURE(blockCost, program3_quiet, 3, quiet)->Iterations(8);
BENCHMARK_CAPTURE(blockCost, program3_heavy, 3, heavy)->Iterations(8);
