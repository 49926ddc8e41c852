#include "BenchMaterial.h"

#include <cstdint>

namespace
{
// CLimiter::process on stereo blocks of 512 frames. "realtime_factor" is
// seconds of audio processed per second of CPU time.
void limiterProcess(benchmark::State& state, int program)
{
    const double fs = static_cast<double>(state.range(0));
    bench::LimiterOnLoop limiter(fs, program, 1 << 17);
    int64_t processed = 0;
    for (auto _ : state)
    {
        limiter.processNextBlock();
        processed += bench::LimiterOnLoop::block;
    }
    state.SetItemsProcessed(processed);
    state.counters["realtime_factor"] = benchmark::Counter(static_cast<double>(processed) / fs, benchmark::Counter::kIsRate);
}
}

BENCHMARK_CAPTURE(limiterProcess, program0, 0)->ArgName("rate")->Arg(44100)->Arg(48000)->Arg(96000);
BENCHMARK_CAPTURE(limiterProcess, program3, 3)->ArgName("rate")->Arg(44100)->Arg(48000)->Arg(96000);
