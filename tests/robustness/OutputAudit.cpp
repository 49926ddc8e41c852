#include "OutputAudit.h"

#include <cmath>
#include <cstdio>

void OutputAudit::check(const float* const* outputs, int channels, int frames, double clipLevel)
{
    for (int channel = 0; channel < channels; ++channel)
    {
        for (int i = 0; i < frames; ++i)
        {
            const float sample = outputs[channel][i];
            const double magnitude = std::fabs(static_cast<double>(sample));
            const bool finite = std::isfinite(sample);
            const bool above = finite && magnitude > clipLevel;
            if (!finite)
            {
                ++nonFiniteSamples;
            }
            if (above)
            {
                ++samplesAboveClipLevel;
            }
            if (finite && clipLevel > 0.0 && magnitude / clipLevel > highest)
            {
                highest = magnitude / clipLevel;
            }
            if ((!finite || above) && violation.empty())
            {
                char text[160];
                std::snprintf(text, sizeof text,
                              "channel %d, frame %d of a block of %d after %lld samples: %.9g, clip level %.9g",
                              channel, i, frames, static_cast<long long>(checkedSamples), static_cast<double>(sample),
                              clipLevel);
                violation = text;
            }
        }
    }
    checkedSamples += static_cast<int64_t>(channels) * frames;
}

std::string OutputAudit::summary() const
{
    return std::to_string(checkedSamples) + " samples, " + std::to_string(nonFiniteSamples) + " not finite, "
           + std::to_string(samplesAboveClipLevel) + " above the clip level" + (violation.empty() ? "" : "; first: ")
           + violation;
}
