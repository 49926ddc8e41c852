// Soak run: generated loud material (LoudMaterial, at +0, +6 and +12 dB in
// turn) through every factory program at 44.1, 48 and 96 kHz, in blocks of
// changing size, every output sample checked to be finite and within the
// clip level; then long silence, whose CPU time per block must not grow
// (denormal numbers in decaying filters and envelopes would make it grow
// many times over).
//
//   plugin_soak [HOURS] [SILENCE_SECONDS]
//
// HOURS of material in all (default 1), shared equally by the 51 runs of a
// program at a rate, each followed by SILENCE_SECONDS of silence (default
// 120) timed in blocks of 512. Prints a line per run and a summary; exits
// non-zero on any bad sample or a slow-down.
#include "AuditedPlugin.h"
#include "LoudMaterial.h"

#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

namespace
{
constexpr int factoryPrograms = 17;
constexpr int timedBlock = 512;
// A median block time may wander with the machine's other work; a denormal
// slow-down multiplies it by ten and more.
constexpr double allowedSlowDown = 1.5;

double threadSeconds()
{
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double median(std::vector<double> values)
{
    if (values.empty())
    {
        return 0.0;
    }
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

struct Totals
{
    int runs = 0;
    double materialSeconds = 0.0;
    double silenceSeconds = 0.0;
    long long samples = 0;
    long long nonFinite = 0;
    long long aboveClipLevel = 0;
    double worstSlowDown = 0.0;
    bool failed = false;
};

void soak(double rate, int program, double materialSeconds, double silenceSeconds, Totals& totals)
{
    AuditedPlugin plugin(PALISORNE_MODULE_PATH, static_cast<float>(rate));
    plugin.module().setProgram(program);
    LoudMaterial material(rate, static_cast<uint32_t>(program * 1000 + static_cast<int>(rate)));
    const float gains[] = {1.0f, 1.9952623f, 3.9810717f};
    std::mt19937 random(static_cast<uint32_t>(program));

    const long long materialFrames = static_cast<long long>(materialSeconds * rate);
    const long long gainPeriod = static_cast<long long>(10.0 * rate);
    for (long long done = 0; done < materialFrames;)
    {
        const int frames = static_cast<int>(std::min<long long>(1 + random() % 4096, materialFrames - done));
        plugin.process(material, frames, gains[(done / gainPeriod) % 3]);
        done += frames;
    }

    // Silence: the first ten seconds after the material's tail has left
    // against the last ten seconds.
    std::vector<float> silence(timedBlock, 0.0f);
    const long long silenceBlocks = static_cast<long long>(silenceSeconds * rate) / timedBlock;
    const long long windowBlocks = static_cast<long long>(10.0 * rate) / timedBlock;
    const long long settleBlocks = static_cast<long long>(2.0 * rate) / timedBlock;
    std::vector<double> early;
    std::vector<double> late;
    for (long long block = 0; block < silenceBlocks; ++block)
    {
        const double start = threadSeconds();
        plugin.process(silence.data(), silence.data(), timedBlock);
        const double spent = threadSeconds() - start;
        if (block >= settleBlocks && block < settleBlocks + windowBlocks)
        {
            early.push_back(spent);
        }
        else if (block >= silenceBlocks - windowBlocks)
        {
            late.push_back(spent);
        }
    }
    const double slowDown = median(early) > 0.0 ? median(late) / median(early) : 0.0;

    const OutputAudit& audit = plugin.audit();
    ++totals.runs;
    totals.materialSeconds += static_cast<double>(materialFrames) / rate;
    totals.silenceSeconds += static_cast<double>(silenceBlocks * timedBlock) / rate;
    totals.samples += audit.samples();
    totals.nonFinite += audit.nonFinite();
    totals.aboveClipLevel += audit.aboveClipLevel();
    totals.worstSlowDown = std::max(totals.worstSlowDown, slowDown);
    const bool bad = !audit.clean() || slowDown > allowedSlowDown;
    totals.failed = totals.failed || bad;
    std::printf("%6.0f Hz  program %2d  %8.0f s  peak/clip %.6f  silence %.1f -> %.1f us/block (x%.2f)%s%s\n", rate,
                program, materialSeconds, audit.highestRatio(), 1e6 * median(early), 1e6 * median(late), slowDown,
                bad ? "  FAILED " : "", audit.firstViolation().c_str());
    std::fflush(stdout);
}
}

int main(int argc, char** argv)
{
    const double hours = argc > 1 ? std::atof(argv[1]) : 1.0;
    const double silenceSeconds = argc > 2 ? std::atof(argv[2]) : 120.0;
    if (!(hours > 0.0) || !(silenceSeconds >= 30.0))
    {
        std::fprintf(stderr, "usage: %s [HOURS > 0] [SILENCE_SECONDS >= 30]\n", argv[0]);
        return 2;
    }

    const double rates[] = {44100.0, 48000.0, 96000.0};
    const double secondsPerRun = hours * 3600.0 / (factoryPrograms * 3);
    Totals totals;
    const double startedAt = threadSeconds();
    for (const double rate : rates)
    {
        for (int program = 0; program < factoryPrograms; ++program)
        {
            soak(rate, program, secondsPerRun, silenceSeconds, totals);
        }
    }
    std::printf("soak: %d runs (17 programs x 3 rates), %.2f hours of material and %.2f hours of silence, "
                "%lld samples checked, %lld not finite, %lld above the clip level, "
                "worst CPU-per-block growth on silence x%.2f, %.0f s of CPU\n",
                totals.runs, totals.materialSeconds / 3600.0, totals.silenceSeconds / 3600.0, totals.samples,
                totals.nonFinite, totals.aboveClipLevel, totals.worstSlowDown, threadSeconds() - startedAt);
    std::printf("%s\n", totals.failed ? "SOAK FAILED" : "soak passed");
    return totals.failed ? 1 : 0;
}
