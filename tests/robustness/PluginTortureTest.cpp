// The module under the abuse a host can bring: garbage samples, careless
// buffers, block sizes, sample rates and programs that change under it,
// suspend and resume at any time, parameter values outside their range.
// Every output sample must be finite and within the ceiling of its block,
// and abuse must leave no trace once it stops.
#include "AuditedPlugin.h"
#include "LoudMix.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace
{
constexpr int latency = 1535;
constexpr int parameters = 13;
constexpr int programs = 64;
constexpr float pi = 3.14159265358979f;
const float notANumber = std::numeric_limits<float>::quiet_NaN();
const float infinity = std::numeric_limits<float>::infinity();

// The whole output of a run, one vector per channel.
struct Recording
{
    std::vector<float> left;
    std::vector<float> right;

    void append(const AuditedPlugin& plugin, int frames)
    {
        left.insert(left.end(), plugin.outputLeft(), plugin.outputLeft() + frames);
        right.insert(right.end(), plugin.outputRight(), plugin.outputRight() + frames);
    }
    float largestDifference(const Recording& other) const
    {
        float worst = 0.0f;
        for (std::size_t n = 0; n < left.size() && n < other.left.size(); ++n)
        {
            worst = std::max({worst, std::fabs(left[n] - other.left[n]), std::fabs(right[n] - other.right[n])});
        }
        return worst;
    }
};

// Two seconds of loud material in blocks of 512 through program 0 after
// the given parameter changes, each read back as stored (a value that is not
// finite leaves the stored one).
Recording renderAfter(const std::vector<std::pair<int, float>>& changes)
{
    AuditedPlugin plugin;
    for (const auto& [index, value] : changes)
    {
        const float expected = std::isfinite(value) ? value : plugin.module().getParameter(index);
        plugin.module().setParameter(index, value);
        const float readBack = plugin.module().getParameter(index);
        EXPECT_EQ(std::memcmp(&readBack, &expected, sizeof value), 0) << "stored " << readBack;
    }
    LoudMix material(44100.0, 1);
    Recording out;
    for (int block = 0; block < 172; ++block)
    {
        plugin.process(material, 512, 2.0f);
        out.append(plugin, 512);
    }
    EXPECT_TRUE(plugin.clean()) << plugin.firstViolation();
    return out;
}
}

// Non-finite samples and samples beyond +-1000 enter as silence: a 0.5 sine
// (below program 0's ceiling, so neither saturated nor limited) comes out
// exactly as it went in, 1535 samples later, except that each garbage
// sample is a zero, a block of garbage is a block of silence, and the sine
// is whole again afterwards. The 1 Hz input high-pass differs from a plain
// delay by at most (1 - pole) times the running sum of the signal,
// 1.4e-4 x 3.5 = 5e-4 for this sine, hence the 1e-3 tolerance.
TEST(PluginTorture, GarbageInputComesOutAsSilenceAndLeavesNoTrace)
{
    const float garbage[] = {notANumber, infinity, -infinity, 1e30f, -1e30f, FLT_MAX, 1000.5f, 1e-40f};
    const int sineBefore = 8192;
    const int garbageBlock = 8192;
    const int sprinkled = 16384;
    const int total = sineBefore + garbageBlock + sprinkled + 8192;
    for (const float bad : garbage)
    {
        SCOPED_TRACE("garbage " + std::to_string(bad));
        std::vector<float> input(static_cast<size_t>(total));
        std::vector<bool> isGarbage(static_cast<size_t>(total), false);
        for (int n = 0; n < total; ++n)
        {
            const bool inBlock = n >= sineBefore && n < sineBefore + garbageBlock;
            const bool inSprinkled = n >= sineBefore + garbageBlock && n < sineBefore + garbageBlock + sprinkled;
            isGarbage[n] = inBlock || (inSprinkled && n % 97 == 0);
            input[n] = isGarbage[n] ? bad : 0.5f * std::sin(2.0f * pi * 1000.0f * static_cast<float>(n) / 44100.0f);
        }
        AuditedPlugin plugin;
        Recording out;
        for (int start = 0; start < total; start += 1024)
        {
            plugin.process(input.data() + start, input.data() + start, 1024);
            out.append(plugin, 1024);
        }
        ASSERT_TRUE(plugin.clean()) << plugin.firstViolation();
        Recording expected;
        for (int n = 0; n + latency < total; ++n)
        {
            expected.left.push_back(isGarbage[n] ? 0.0f : input[n]);
            expected.right.push_back(expected.left.back());
        }
        out.left.erase(out.left.begin(), out.left.begin() + latency);
        out.right.erase(out.right.begin(), out.right.begin() + latency);
        EXPECT_LT(out.largestDifference(expected), 1e-3f);
    }
}

TEST(PluginTorture, CarelessBuffersAreLeftAloneAndProcessingCarriesOn)
{
    AuditedPlugin plugin;
    VstModule& module = plugin.module();
    std::vector<float> in(64, 0.5f), outLeft(64, 7.0f), outRight(64, 7.0f);
    float* inputs[2] = {in.data(), in.data()};
    float* outputs[2] = {outLeft.data(), outRight.data()};
    float* missingInput[2] = {in.data(), nullptr};
    float* missingOutput[2] = {nullptr, outRight.data()};
    module.processReplacing(nullptr, outputs, 64);
    module.processReplacing(inputs, nullptr, 64);
    module.processReplacing(missingInput, outputs, 64);
    module.processReplacing(inputs, missingOutput, 64);
    module.processReplacing(inputs, outputs, -64);
    module.processReplacing(inputs, outputs, 0);
    EXPECT_EQ(outLeft, std::vector<float>(64, 7.0f));
    EXPECT_EQ(outRight, std::vector<float>(64, 7.0f));
    // Double precision is not offered; a host that calls it anyway gets nothing done.
    std::vector<double> inDouble(64, 0.5), outDouble(64, 7.0);
    double* doubleInputs[2] = {inDouble.data(), inDouble.data()};
    double* doubleOutputs[2] = {outDouble.data(), outDouble.data()};
    module.effect()->processDoubleReplacing(module.effect(), doubleInputs, doubleOutputs, 64);
    EXPECT_EQ(outDouble[0], 7.0);
    // The next block is the delay line's silence.
    module.processReplacing(inputs, outputs, 64);
    EXPECT_LT(std::fabs(outLeft[63]), 1e-6f);
}

// Values that are not finite are ignored; finite values outside 0..1 are
// stored as given (the host reads back what it wrote) and act as the nearest
// end of the range: nothing in the signal path may overflow, divide by them
// or convert them to an integer out of range. The renders differ only in
// the anti-denormal noise and, with "NumBits" on, in the dither drawn from
// another shared generator: at most two steps of 24 bits (2.4e-7) without
// noise shaping, which program 0 has off.
TEST(PluginTorture, ParameterValuesOutsideTheRange)
{
    for (int index = 0; index < parameters; ++index)
    {
        for (const float value : {-1e30f, 1.5f, 3e38f})
        {
            SCOPED_TRACE("parameter " + std::to_string(index) + " at " + std::to_string(value));
            const Recording outside = renderAfter({{index, value}, {index, notANumber}, {index, -infinity}});
            const Recording nearestEnd = renderAfter({{index, value < 0.0f ? 0.0f : 1.0f}});
            EXPECT_LT(outside.largestDifference(nearestEnd), 1e-6f);
        }
    }
}

// A host session at its worst: on every block maybe a new rate (also ones
// hosts should not send, clamped or ignored by the plug-in), a program
// (factory or not), a suspend without resume, a resume without suspend, the
// start/stop notifications. Each block stays within its program's ceiling,
// and the loud material keeps the limiter at it.
TEST(PluginTorture, RatesProgramsAndSuspendChangingUnderTheAudio)
{
    const float rates[] = {44100.0f, 48000.0f, 96000.0f, 192000.0f, 22050.0f, 88200.0f,
                           8000.0f,  384000.0f, 0.0f,    -44100.0f, notANumber,      1e30f};
    AuditedPlugin plugin;
    VstModule& module = plugin.module();
    LoudMix material(48000.0, 3);
    std::mt19937 random(5);
    for (int block = 0; block < 2000; ++block)
    {
        switch (random() % 8)
        {
        case 0: module.setSampleRate(rates[random() % (sizeof rates / sizeof rates[0])]); break;
        case 1: module.setProgram(static_cast<int>(random() % programs)); break;
        case 2: module.suspend(); module.resume(); break;
        case 3: module.suspend(); break;
        case 4: module.resume(); break;
        case 5: module.dispatch(effStopProcess); module.dispatch(effStartProcess); break;
        default: break;
        }
        plugin.process(material, 1 + static_cast<int>(random() % 2048), 4.0f);
    }
    EXPECT_TRUE(plugin.clean()) << plugin.firstViolation();
    EXPECT_GT(plugin.highestRatio(), 0.95);
}
