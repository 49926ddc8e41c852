// Renders one program of a module over a fixed test signal and prints
// "<program> <FNV-1a of the output float bits>". Run once per
// program in a fresh process: the dither and anti-denormal generators are
// process-wide and never reseeded, so only a fresh process renders the same
// bits every time.
#include "Fnv1a.h"
#include "VstModule.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <vector>

namespace
{
constexpr int sampleRate = 44100;
constexpr int frames = 3 * sampleRate;
constexpr int blockSize = 512;

// Mixed sines, noise from a fixed LCG and a decaying click every quarter
// second, peaking near +6 dBFS so that every program limits.
void makeSignal(std::vector<float>& left, std::vector<float>& right)
{
    const double twoPi = 6.283185307179586;
    uint32_t state = 12345u;
    auto noise = [&state]() {
        state = state * 1664525u + 1013904223u;
        return static_cast<double>(state >> 8) / 8388608.0 - 1.0;
    };
    for (int i = 0; i < frames; ++i)
    {
        const double t = static_cast<double>(i) / sampleRate;
        const int sinceClick = i % (sampleRate / 4);
        const double click = sinceClick < 200 ? 1.2 * std::exp(-sinceClick / 30.0) : 0.0;
        const double l = 0.55 * std::sin(twoPi * 110.0 * t) + 0.3 * std::sin(twoPi * 1234.5 * t)
                         + 0.08 * noise() + click;
        const double r = 0.5 * std::sin(twoPi * 220.0 * t + 0.3) + 0.35 * std::sin(twoPi * 3001.0 * t)
                         + 0.08 * noise() - 0.8 * click;
        left[static_cast<std::size_t>(i)] = static_cast<float>(l);
        right[static_cast<std::size_t>(i)] = static_cast<float>(r);
    }
}
}

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        std::fprintf(stderr, "usage: %s <module> <program>\n", argv[0]);
        return 2;
    }
    const int program = std::atoi(argv[2]);
    try
    {
        VstModule plugin(argv[1]);
        plugin.open();
        plugin.setSampleRate(static_cast<float>(sampleRate));
        plugin.setBlockSize(blockSize);
        plugin.resume();
        plugin.setProgram(program);
        if (plugin.program() != program)
        {
            std::fprintf(stderr, "program %d not selected\n", program);
            return 1;
        }

        std::vector<float> inLeft(frames), inRight(frames), outLeft(frames), outRight(frames);
        makeSignal(inLeft, inRight);
        uint64_t hash = fnv1aStart;
        for (int start = 0; start < frames; start += blockSize)
        {
            const int count = std::min(blockSize, frames - start);
            float* inputs[2] = {inLeft.data() + start, inRight.data() + start};
            float* outputs[2] = {outLeft.data() + start, outRight.data() + start};
            plugin.processReplacing(inputs, outputs, count);
            hash = fnv1a(outputs[0], count, hash);
            hash = fnv1a(outputs[1], count, hash);
        }
        std::printf("%d %016" PRIx64 "\n", program, hash);
        return 0;
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
