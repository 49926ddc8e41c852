#include "MasterMeter.h"

#include "HostError.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace
{
constexpr long long hopsPerBlock = 4;
constexpr long long hopsPerShortTerm = 30;
}

MasterMeter::MasterMeter(int channels, int sampleRate)
    : state(ebur128_init(static_cast<unsigned>(channels), static_cast<unsigned long>(sampleRate),
                         EBUR128_MODE_S | EBUR128_MODE_LRA))
    , truePeak(channels, sampleRate)
    , hopFrames(static_cast<size_t>((sampleRate + 5) / 10))
    , framesInHop(0)
    , hops(0)
    , windowFrames(static_cast<size_t>(std::max(1, sampleRate / 100)))
    , framesInWindow(0)
    , windowPeak(0.0f)
{
    if (state == nullptr)
    {
        throw HostError("the loudness meter cannot measure " + std::to_string(channels) + " channel(s) at "
                        + std::to_string(sampleRate) + " Hz");
    }
    measurement.sampleRate = sampleRate;
    measurement.channels = channels;
}

MasterMeter::~MasterMeter()
{
    ebur128_destroy(&state);
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
    if (ebur128_add_frames_float(state, interleaved, frames) != EBUR128_SUCCESS)
    {
        throw HostError("the loudness meter ran out of memory");
    }
    truePeak.addFrames(interleaved, frames);
    const size_t channels = static_cast<size_t>(measurement.channels);
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
        endHop();
    }
}

void MasterMeter::endHop()
{
    framesInHop = 0;
    ++hops;
    measurement.truePeakPerHop.push_back(truePeak.takeHeldPeak());
    double loudness = 0.0;
    if (hops >= hopsPerBlock && ebur128_loudness_momentary(state, &loudness) == EBUR128_SUCCESS)
    {
        measurement.blockEnergies.push_back(std::pow(10.0, (loudness + 0.691) / 10.0));
    }
    if (hops >= hopsPerShortTerm && ebur128_loudness_shortterm(state, &loudness) == EBUR128_SUCCESS)
    {
        measurement.shortTermLufs.push_back(static_cast<float>(loudness));
    }
}

MasterMeasurement MasterMeter::finish()
{
    if (framesInWindow > 0)
    {
        measurement.peakPerWindow.push_back(windowPeak);
    }
    if (ebur128_loudness_range(state, &measurement.loudnessRangeLu) != EBUR128_SUCCESS)
    {
        measurement.loudnessRangeLu = 0.0;
    }
    measurement.truePeaks = truePeak.getTruePeaks();
    measurement.samplePeaks = truePeak.getSamplePeaks();
    return measurement;
}
