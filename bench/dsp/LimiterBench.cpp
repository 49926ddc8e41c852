#include "BenchMaterial.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <vector>

namespace
{
// CLimiter::process on stereo blocks of 512 frames. "realtime_factor" is
// seconds of audio processed per second of CPU time.
void limiterProcess(benchmark::State& state, int program)
{
    const double fs = static_cast<double>(state.range(0));
    const int block = 512;
    const int frames = 1 << 17;
    CLimiter limiter(2);
    limiter.setSampleRate(static_cast<float>(fs));
    applyFactoryProgram(limiter, program);
    const auto in = bench::loudMix(fs, frames);
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

BENCHMARK_CAPTURE(limiterProcess, program0, 0)->ArgName("rate")->Arg(44100)->Arg(48000)->Arg(96000);
BENCHMARK_CAPTURE(limiterProcess, program3, 3)->ArgName("rate")->Arg(44100)->Arg(48000)->Arg(96000);
