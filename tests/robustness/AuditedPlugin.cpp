#include "AuditedPlugin.h"

#include "LoudMix.h"

#include <algorithm>
#include <cmath>
#include <limits>

AuditedPlugin::AuditedPlugin(float sampleRate) : plugin(PALISORNE_MODULE_PATH)
{
    for (int channel = 0; channel < 2; ++channel)
    {
        input[channel].assign(maxBlockSize, 0.0f);
        output[channel].assign(maxBlockSize, 0.0f);
    }
    plugin.open();
    plugin.setSampleRate(sampleRate);
    plugin.setBlockSize(maxBlockSize);
    plugin.resume();
}

double AuditedPlugin::ceiling()
{
    if (fixedBound > 0.0)
    {
        return fixedBound;
    }
    // "Outceil" is -10 + 10 v dB, v taken into 0..1. The plug-in computes it
    // and 10^(dB * 0.05) in floats: half an ulp on the dB value (6e-8 |dB|),
    // another on the product with 0.05, about one ulp from powf; relative to
    // the ceiling 1.2e-7 + 0.115 * 1.2e-7 |dB|. The margin is twice that.
    const float value = plugin.getParameter(5);
    const double dB = -10.0 + 10.0 * (value > 0.0f ? std::min(static_cast<double>(value), 1.0) : 0.0);
    return std::pow(10.0, dB / 20.0) * (1.0 + 4e-7 + 3e-8 * std::fabs(dB));
}

void AuditedPlugin::process(const float* left, const float* right, int frames, bool inPlace)
{
    frames = std::clamp(frames, 0, maxBlockSize);
    const double bound = ceiling();
    for (int channel = 0; channel < 2; ++channel)
    {
        std::fill(output[channel].begin(), output[channel].begin() + frames, std::numeric_limits<float>::quiet_NaN());
    }
    float* outputs[2] = {output[0].data(), output[1].data()};
    float* inputs[2] = {input[0].data(), input[1].data()};
    float** sources = inPlace ? outputs : inputs;
    std::copy(left, left + frames, sources[0]);
    std::copy(right, right + frames, sources[1]);
    plugin.processReplacing(sources, outputs, frames);

    for (int channel = 0; channel < 2; ++channel)
    {
        for (int i = 0; i < frames; ++i)
        {
            const float sample = output[channel][i];
            const double ratio = std::fabs(static_cast<double>(sample)) / bound;
            highest = std::isfinite(sample) ? std::max(highest, ratio) : highest;
            if ((!std::isfinite(sample) || ratio > 1.0) && violation.empty())
            {
                violation = "channel " + std::to_string(channel) + ", frame " + std::to_string(i) + " of a block of "
                            + std::to_string(frames) + " after " + std::to_string(samples) + " samples: "
                            + std::to_string(sample) + ", bound " + std::to_string(bound);
            }
        }
    }
    samples += 2LL * frames;
}

void AuditedPlugin::process(LoudMix& material, int frames, float gain)
{
    frames = std::clamp(frames, 0, maxBlockSize);
    std::vector<float> left(static_cast<size_t>(frames));
    std::vector<float> right(static_cast<size_t>(frames));
    material.render(left.data(), right.data(), frames, gain);
    process(left.data(), right.data(), frames);
}
