#include "MasterMeter.h"

#include <algorithm>
#include <cmath>

MasterMeter::MasterMeter(int channels, int sampleRate)
    : weighting(static_cast<size_t>(channels), KWeightingFilter(sampleRate))
    , truePeak(channels, sampleRate)
    , hopFrames(static_cast<size_t>((sampleRate + 5) / 10))
    , framesInHop(0)
    , hopSum(0.0)
    , windowFrames(static_cast<size_t>(std::max(1, sampleRate / 100)))
    , framesInWindow(0)
    , windowPeak(0.0f)
{
    measurement.sampleRate = sampleRate;
    measurement.channels = channels;
}

void MasterMeter::addFrames(const float* interleaved, size_t frames)
{
    while (frames > 0)
    {
        const size_t part = std::min(frames, hopFrames - framesInHop);
        addWithinHop(interleaved, part);
        interleaved += part * static_cast<size_t>(measurement.channels);
        frames -= part;
    }
}

void MasterMeter::addWithinHop(const float* interleaved, size_t frames)
{
    const size_t channels = static_cast<size_t>(measurement.channels);
    for (size_t channel = 0; channel < channels; ++channel)
    {
        hopSum += weighting[channel].process(interleaved + channel, measurement.channels, frames);
    }
    truePeak.addFrames(interleaved, frames);
    for (size_t frame = 0; frame < frames; ++frame)
    {
        for (size_t channel = 0; channel < channels; ++channel)
        {
            windowPeak = std::max(windowPeak, std::fabs(interleaved[frame * channels + channel]));
        }
        if (++framesInWindow == windowFrames)
        {
            measurement.peakPerWindow.push_back(windowPeak);
            windowPeak = 0.0f;
            framesInWindow = 0;
        }
    }
    measurement.frames += static_cast<long long>(frames);
    framesInHop += frames;
    if (framesInHop == hopFrames)
    {
        measurement.hopEnergies.push_back(hopSum / static_cast<double>(hopFrames));
        measurement.truePeakPerHop.push_back(truePeak.takeHeldPeak());
        hopSum = 0.0;
        framesInHop = 0;
    }
}

MasterMeasurement MasterMeter::finish()
{
    if (framesInWindow > 0)
    {
        measurement.peakPerWindow.push_back(windowPeak);
    }
    measurement.truePeaks = truePeak.getTruePeaks();
    measurement.samplePeaks = truePeak.getSamplePeaks();
    return measurement;
}
