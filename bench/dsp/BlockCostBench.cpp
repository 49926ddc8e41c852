#include "BenchMaterial.h"

#include <algorithm>
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

double threadSeconds()
{
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

void blockCost(benchmark::State& state, int program, Material kind)
{
    const double fs = 44100.0;
    const int block = bench::LimiterOnLoop::block;
    const int blocksPerIteration = 500;
    bench::LimiterOnLoop limiter(fs, program, 4 * 44100 / block * block,
                                 kind == silence ? 0.0 : kind == quiet ? 0.003 : 1.0);

    std::vector<double> seconds;
    for (auto _ : state)
    {
        for (int i = 0; i < blocksPerIteration; ++i)
        {
            const double before = threadSeconds();
            limiter.processNextBlock();
            seconds.push_back(threadSeconds() - before);
        }
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
