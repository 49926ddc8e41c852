#include "RealTimeBenchmark.h"

#include "DemoMix.h"
#include "HostError.h"
#include "HostedPlugin.h"
#include "InterruptFlag.h"
#include "ParameterSetting.h"
#include "PlanarBuffer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>

namespace
{
constexpr int pluginChannels = 2;

// One effect with its buffers, ready to run a pass.
struct Contender
{
    std::unique_ptr<HostedPlugin> plugin;
    std::unique_ptr<PlanarBuffer> inputs;
    std::unique_ptr<PlanarBuffer> outputs;
};
}

RealTimeBenchmark::RealTimeBenchmark(double seconds, int sampleRate, int blockFrames, int passes, double gainDb)
    : seconds(seconds)
    , sampleRate(sampleRate)
    , blockFrames(blockFrames)
    , passes(passes)
    , gainDb(gainDb)
{
    if (!(seconds > 0.0) || seconds > 3600.0)
    {
        throw HostError("--seconds must lie above 0 and at most 3600");
    }
    if (sampleRate < 8000 || sampleRate > 384000)
    {
        throw HostError("--rate must lie between 8000 and 384000 Hz");
    }
    if (blockFrames < 1 || blockFrames > 65536)
    {
        throw HostError("--block must lie between 1 and 65536 frames");
    }
    if (passes < 1 || passes > 1000)
    {
        throw HostError("--passes must lie between 1 and 1000");
    }
    if (!(std::fabs(gainDb) <= 60.0))
    {
        throw HostError("--gain must lie between -60 and +60 dB");
    }
}

std::vector<BenchmarkResult> RealTimeBenchmark::run(const std::vector<BenchmarkContender>& setups) const
{
    std::vector<float> material = DemoMix(sampleRate).render(seconds);
    const float gain = static_cast<float>(std::pow(10.0, gainDb / 20.0));
    for (float& sample : material)
    {
        sample *= gain;
    }
    const size_t frames = material.size() / pluginChannels;
    const size_t block = static_cast<size_t>(blockFrames);

    std::vector<Contender> contenders;
    std::vector<BenchmarkResult> results;
    for (const BenchmarkContender& setup : setups)
    {
        const std::string& path = setup.path;
        Contender contender;
        contender.plugin = std::make_unique<HostedPlugin>(path);
        VstModule& module = contender.plugin->module();
        if (module.numInputs() < pluginChannels || module.numOutputs() < pluginChannels
            || (module.flags() & effFlagsCanReplacing) == 0)
        {
            throw HostError(contender.plugin->displayName() + " (" + path + ") is not a stereo VST 2.4 effect");
        }
        contender.plugin->start(sampleRate, blockFrames);
        ParameterSetting::applyAll(*contender.plugin, setup.program, setup.unitSettings, setup.normalisedSettings);
        contender.inputs = std::make_unique<PlanarBuffer>(module.numInputs(), block);
        contender.outputs = std::make_unique<PlanarBuffer>(module.numOutputs(), block);
        BenchmarkResult result;
        result.path = module.path();
        result.name = contender.plugin->displayName();
        results.push_back(result);
        contenders.push_back(std::move(contender));
    }

    for (int pass = 0; pass < passes; ++pass)
    {
        for (size_t which = 0; which < contenders.size(); ++which)
        {
            Contender& contender = contenders[which];
            std::chrono::steady_clock::duration busy{};
            for (size_t start = 0; start < frames; start += block)
            {
                if (InterruptFlag::isRaised())
                {
                    throw HostError("interrupted");
                }
                const size_t count = std::min(block, frames - start);
                for (size_t frame = 0; frame < count; ++frame)
                {
                    contender.inputs->channel(0)[frame] = material[2 * (start + frame)];
                    contender.inputs->channel(1)[frame] = material[2 * (start + frame) + 1];
                }
                const auto before = std::chrono::steady_clock::now();
                contender.plugin->module().processReplacing(contender.inputs->pointers(), contender.outputs->pointers(),
                                                            static_cast<VstInt32>(count));
                busy += std::chrono::steady_clock::now() - before;
            }
            const double busySeconds = std::chrono::duration<double>(busy).count();
            const double audioSeconds = static_cast<double>(frames) / sampleRate;
            results[which].realTimeFactors.push_back(busySeconds > 0.0 ? audioSeconds / busySeconds : 0.0);
        }
    }
    for (size_t which = 0; which < results.size(); ++which)
    {
        BenchmarkResult& result = results[which];
        // As it stands after the passes: settings may change it, and some
        // effects publish a change only while they process.
        result.latencyFrames = contenders[which].plugin->module().initialDelay();
        result.median = median(result.realTimeFactors);
    }
    return results;
}

double RealTimeBenchmark::median(std::vector<double> values)
{
    if (values.empty())
    {
        return 0.0;
    }
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : 0.5 * (values[middle - 1] + values[middle]);
}
