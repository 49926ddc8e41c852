#include "GainReductionMeter.h"

#include <algorithm>
#include <cmath>

GainReductionMeter::GainReductionMeter(int channels, int sampleRate, double inputGainDb)
    : channels(channels)
    , windowFrames(std::max<size_t>(1, static_cast<size_t>(std::lround(windowSeconds * sampleRate))))
    , inputGain(std::pow(10.0, inputGainDb / 20.0))
    , inputPeaks(static_cast<size_t>(channels))
    , outputPeaks(static_cast<size_t>(channels))
    , inputFramesInWindow(0)
    , outputFramesInWindow(0)
{
}

void GainReductionMeter::addInput(const float* interleaved, size_t frames)
{
    addPeaks(interleaved, frames, inputPeaks, inputFramesInWindow);
}

void GainReductionMeter::addOutput(const float* interleaved, size_t frames)
{
    addPeaks(interleaved, frames, outputPeaks, outputFramesInWindow);
}

void GainReductionMeter::addPeaks(const float* interleaved, size_t frames, std::vector<std::vector<float>>& peaks,
                                  size_t& framesInWindow)
{
    for (size_t frame = 0; frame < frames; ++frame)
    {
        if (framesInWindow == 0)
        {
            for (auto& channelPeaks : peaks)
            {
                channelPeaks.push_back(0.0f);
            }
        }
        for (int channel = 0; channel < channels; ++channel)
        {
            float& peak = peaks[static_cast<size_t>(channel)].back();
            peak = std::max(peak, std::fabs(interleaved[frame * static_cast<size_t>(channels) + channel]));
        }
        framesInWindow = (framesInWindow + 1) % windowFrames;
    }
}

std::vector<double> GainReductionMeter::getMaxReductionDb() const
{
    const double floor = std::pow(10.0, floorDbfs / 20.0);
    std::vector<double> reduction(static_cast<size_t>(channels), 0.0);
    for (size_t channel = 0; channel < reduction.size(); ++channel)
    {
        const size_t windows = std::min(inputPeaks[channel].size(), outputPeaks[channel].size());
        for (size_t window = 0; window < windows; ++window)
        {
            const double raisedInput = inputGain * inputPeaks[channel][window];
            const double output = outputPeaks[channel][window];
            if (raisedInput < floor)
            {
                continue;
            }
            const double decibels =
                output > 0.0 ? 20.0 * std::log10(raisedInput / output) : 20.0 * std::log10(raisedInput / floor);
            reduction[channel] = std::max(reduction[channel], decibels);
        }
    }
    return reduction;
}
