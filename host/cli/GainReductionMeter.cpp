#include "GainReductionMeter.h"

#include <algorithm>
#include <cmath>
#include <numeric>

GainReductionMeter::GainReductionMeter(int channels, int sampleRate, double inputGainDb)
    : channels(channels)
    , windowFrames(std::max<size_t>(1, static_cast<size_t>(std::lround(windowSeconds * sampleRate))))
    , inputPower(std::pow(10.0, inputGainDb / 10.0))
    , inputEnergies(static_cast<size_t>(channels))
    , outputEnergies(static_cast<size_t>(channels))
    , inputFramesInWindow(0)
    , outputFramesInWindow(0)
{
}

void GainReductionMeter::addInput(const float* interleaved, size_t frames)
{
    addEnergies(interleaved, frames, inputEnergies, inputFramesInWindow);
}

void GainReductionMeter::addOutput(const float* interleaved, size_t frames)
{
    addEnergies(interleaved, frames, outputEnergies, outputFramesInWindow);
}

void GainReductionMeter::addEnergies(const float* interleaved, size_t frames,
                                     std::vector<std::vector<double>>& energies, size_t& framesInWindow)
{
    for (size_t frame = 0; frame < frames; ++frame)
    {
        if (framesInWindow == 0)
        {
            for (auto& channelEnergies : energies)
            {
                channelEnergies.push_back(0.0);
            }
        }
        for (int channel = 0; channel < channels; ++channel)
        {
            const double sample = interleaved[frame * static_cast<size_t>(channels) + static_cast<size_t>(channel)];
            energies[static_cast<size_t>(channel)].back() += sample * sample;
        }
        framesInWindow = (framesInWindow + 1) % windowFrames;
    }
}

std::vector<std::vector<double>> GainReductionMeter::reductions() const
{
    // A window's energy against the floor's: partial windows at the end hold
    // the same number of frames on both sides, so ratios need no counts.
    const double floorPower = std::pow(10.0, floorDbfs / 10.0) * static_cast<double>(windowFrames);
    std::vector<std::vector<double>> result(static_cast<size_t>(channels));
    for (size_t channel = 0; channel < result.size(); ++channel)
    {
        const size_t windows = std::min(inputEnergies[channel].size(), outputEnergies[channel].size());
        for (size_t window = 0; window < windows; ++window)
        {
            const double raisedInput = inputPower * inputEnergies[channel][window];
            const double output = outputEnergies[channel][window];
            if (raisedInput < floorPower)
            {
                continue;
            }
            const double decibels = 10.0 * std::log10(raisedInput / std::max(output, floorPower));
            result[channel].push_back(std::max(decibels, 0.0));
        }
    }
    return result;
}

std::vector<double> GainReductionMeter::getLargestReductionDb() const
{
    std::vector<double> largest;
    for (const std::vector<double>& windows : reductions())
    {
        largest.push_back(windows.empty() ? 0.0 : *std::max_element(windows.begin(), windows.end()));
    }
    return largest;
}

std::vector<double> GainReductionMeter::getMeanReductionDb() const
{
    std::vector<double> mean;
    for (const std::vector<double>& windows : reductions())
    {
        mean.push_back(windows.empty() ? 0.0
                                       : std::accumulate(windows.begin(), windows.end(), 0.0)
                                             / static_cast<double>(windows.size()));
    }
    return mean;
}
