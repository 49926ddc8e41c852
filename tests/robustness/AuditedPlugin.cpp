#include "AuditedPlugin.h"

#include "ClipLevelBound.h"
#include "LoudMaterial.h"

#include <algorithm>
#include <limits>

AuditedPlugin::AuditedPlugin(const std::string& modulePath, float sampleRate)
    : plugin(modulePath), fixedBound(0.0)
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

double AuditedPlugin::clipLevel()
{
    if (fixedBound > 0.0)
    {
        return fixedBound;
    }
    return ClipLevelBound::of(plugin.getParameter(ClipLevelBound::ceilingIndex),
                              plugin.getParameter(ClipLevelBound::wordLengthIndex));
}

void AuditedPlugin::process(const float* left, const float* right, int frames, bool inPlace)
{
    frames = std::clamp(frames, 0, maxBlockSize);
    const double bound = clipLevel();
    for (int channel = 0; channel < 2; ++channel)
    {
        std::fill(output[channel].begin(), output[channel].begin() + frames, std::numeric_limits<float>::quiet_NaN());
    }
    float* outputs[2] = {output[0].data(), output[1].data()};
    if (inPlace)
    {
        std::copy(left, left + frames, output[0].begin());
        std::copy(right, right + frames, output[1].begin());
        plugin.processReplacing(outputs, outputs, frames);
    }
    else
    {
        std::copy(left, left + frames, input[0].begin());
        std::copy(right, right + frames, input[1].begin());
        float* inputs[2] = {input[0].data(), input[1].data()};
        plugin.processReplacing(inputs, outputs, frames);
    }
    outputAudit.check(outputs, 2, frames, bound);
}

void AuditedPlugin::process(LoudMaterial& material, int frames, float gain)
{
    frames = std::clamp(frames, 0, maxBlockSize);
    std::vector<float> left(static_cast<size_t>(frames));
    std::vector<float> right(static_cast<size_t>(frames));
    material.render(left.data(), right.data(), frames, gain);
    process(left.data(), right.data(), frames);
}
