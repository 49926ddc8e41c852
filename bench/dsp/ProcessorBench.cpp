#include "processor/CFFT.h"
#include "processor/CFFTProcessor.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

static void CFFTForwardInverse1024(benchmark::State& state)
{
    CFFT fft(1024);
    std::vector<float> data(1024);
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = float(std::sin(0.1 * double(i)));
    for (auto _ : state)
    {
        fft.transform(data.data(), false);
        fft.transform(data.data(), true);
        fft.scale(data.data());
        fft.scale(data.data()); // keep the level bounded over iterations
        benchmark::DoNotOptimize(data.data());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(CFFTForwardInverse1024);

// The block framework passing stereo audio through copyFrame: cost per
// sample frame of the buffering and overlap-add alone.
static void FrameworkPassThroughStereo(benchmark::State& state)
{
    CFFTProcessor processor(2, 2, 1024, 1024, 512, 0);
    const int block = 512;
    std::vector<float> left(block), right(block);
    for (int i = 0; i < block; ++i)
    {
        left[size_t(i)] = float(std::sin(0.05 * i));
        right[size_t(i)] = float(std::cos(0.07 * i));
    }
    std::vector<float> outLeft(block), outRight(block);
    const float* in[2] = {left.data(), right.data()};
    float* out[2] = {outLeft.data(), outRight.data()};
    for (auto _ : state)
    {
        processor.process(in, out, block);
        benchmark::DoNotOptimize(outLeft.data());
    }
    state.SetItemsProcessed(state.iterations() * block);
    state.counters["ns_per_sample_frame"] =
        benchmark::Counter(double(state.iterations() * block), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(FrameworkPassThroughStereo);
