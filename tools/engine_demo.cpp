// Runs the limiter engine on a generated loud stereo signal and prints what
// it measured: the proof that the signal path works before any host exists.
#include "limiter/CLimiter.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace
{
double toDb(double x)
{
    return 20.0 * std::log10(std::max(x, 1e-12));
}
}

int main()
{
    const float fs = 44100.0f;
    const int seconds = 10;
    const int frames = int(fs) * seconds;
    const int block = 512;

    // A drum-like pulse train over a bass tone and a chord, peaking well
    // above full scale so that the limiter has work to do.
    std::vector<float> left(static_cast<size_t>(frames)), right(static_cast<size_t>(frames));
    uint32_t noise = 1;
    for (int i = 0; i < frames; ++i)
    {
        const double t = i / double(fs);
        const double beat = std::fmod(t, 0.5);
        const double kick = std::exp(-beat * 30.0) * std::sin(2.0 * M_PI * (50.0 + 100.0 * std::exp(-beat * 40.0)) * beat);
        noise = noise * 1664525u + 1013904223u;
        const double hat = std::exp(-std::fmod(t, 0.125) * 80.0) * (int32_t(noise) / 2147483648.0);
        const double bass = 0.4 * std::sin(2.0 * M_PI * 55.0 * t);
        const double chord =
            0.15 * (std::sin(2.0 * M_PI * 220.0 * t) + std::sin(2.0 * M_PI * 277.2 * t) + std::sin(2.0 * M_PI * 329.6 * t));
        left[size_t(i)] = float(1.2 * kick + 0.3 * hat + bass + chord);
        right[size_t(i)] = float(1.2 * kick - 0.3 * hat + bass + 0.8 * chord);
    }

    CLimiter limiter(2);
    limiter.setSampleRate(fs);
    limiter.setInputGain(0.0f);
    limiter.setAttack(0.04f);
    limiter.setRelease(0.5f);
    limiter.setLookahead(0.001f);
    limiter.setTruePeak(true);
    limiter.setCeiling(-1.0f);
    limiter.setLink(0.35f);
    limiter.setSaturation(0.3f);
    limiter.setNumBits(16);
    limiter.setShaping(0.5f);

    std::vector<float> outLeft(static_cast<size_t>(frames)), outRight(static_cast<size_t>(frames));
    float deepestGain = 1.0f;
    const auto start = std::chrono::steady_clock::now();
    for (int pos = 0; pos < frames; pos += block)
    {
        const int n = std::min(block, frames - pos);
        const float* in[2] = {left.data() + pos, right.data() + pos};
        float* out[2] = {outLeft.data() + pos, outRight.data() + pos};
        limiter.process(in, out, n);
        deepestGain = std::min({deepestGain, limiter.getGainReduction(0), limiter.getGainReduction(1)});
    }
    const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    auto peak = [](const std::vector<float>& x, size_t from) {
        float p = 0.0f;
        for (size_t i = from; i < x.size(); ++i)
            p = std::max(p, std::fabs(x[i]));
        return p;
    };
    auto rms = [](const std::vector<float>& x, size_t from) {
        double sum = 0.0;
        for (size_t i = from; i < x.size(); ++i)
            sum += double(x[i]) * x[i];
        return std::sqrt(sum / double(x.size() - from));
    };
    const size_t latency = size_t(limiter.getLatency());

    std::printf("KW_Palisorne engine: %d s of generated stereo at %.0f Hz, ceiling -1.0 dB, 16 bits, true peak on\n",
                seconds, double(fs));
    std::printf("  latency             %zu samples\n", latency);
    std::printf("  input  peak         %+6.2f dBFS   RMS %+6.2f dBFS\n", toDb(std::max(peak(left, 0), peak(right, 0))),
                toDb(rms(left, 0)));
    std::printf("  output peak         %+6.2f dBFS   RMS %+6.2f dBFS\n",
                toDb(std::max(peak(outLeft, latency), peak(outRight, latency))), toDb(rms(outLeft, latency)));
    std::printf("  clip level          %+6.2f dBFS (%.9f)\n", toDb(limiter.getClipLevel()), double(limiter.getClipLevel()));
    std::printf("  deepest reduction   %+6.2f dB\n", toDb(deepestGain));
    std::printf("  speed               %.0fx real time\n", seconds / elapsed);
    const bool ok = std::max(peak(outLeft, 0), peak(outRight, 0)) <= limiter.getClipLevel();
    std::printf("  ceiling held        %s\n", ok ? "yes" : "NO");
    return ok ? 0 : 1;
}
