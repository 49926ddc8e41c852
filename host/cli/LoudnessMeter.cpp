#include "LoudnessMeter.h"

#include "AudioFileReader.h"
#include "HostError.h"

#include <cmath>
#include <limits>
#include <string>

namespace
{
double decibels(double linear)
{
    return linear > 0.0 ? 20.0 * std::log10(linear) : -std::numeric_limits<double>::infinity();
}
}

LoudnessMeter::LoudnessMeter(int channels, int sampleRate)
    : state(ebur128_init(static_cast<unsigned>(channels), static_cast<unsigned long>(sampleRate),
                         EBUR128_MODE_I | EBUR128_MODE_LRA | EBUR128_MODE_SAMPLE_PEAK | EBUR128_MODE_TRUE_PEAK))
    , channels(channels)
{
    if (state == nullptr)
    {
        throw HostError("the loudness meter cannot measure " + std::to_string(channels) + " channel(s) at "
                        + std::to_string(sampleRate) + " Hz");
    }
}

LoudnessMeter::~LoudnessMeter()
{
    ebur128_destroy(&state);
}

void LoudnessMeter::addFrames(const float* interleaved, size_t frames)
{
    if (frames > 0 && ebur128_add_frames_float(state, interleaved, frames) != EBUR128_SUCCESS)
    {
        throw HostError("the loudness meter ran out of memory");
    }
}

LoudnessFigures LoudnessMeter::getFigures() const
{
    LoudnessFigures figures;
    if (ebur128_loudness_global(state, &figures.integratedLufs) != EBUR128_SUCCESS)
    {
        figures.integratedLufs = -std::numeric_limits<double>::infinity();
    }
    if (ebur128_loudness_range(state, &figures.loudnessRangeLu) != EBUR128_SUCCESS)
    {
        figures.loudnessRangeLu = 0.0;
    }
    for (int channel = 0; channel < channels; ++channel)
    {
        double samplePeak = 0.0;
        double truePeak = 0.0;
        ebur128_sample_peak(state, static_cast<unsigned>(channel), &samplePeak);
        ebur128_true_peak(state, static_cast<unsigned>(channel), &truePeak);
        figures.samplePeakDbfs.push_back(decibels(samplePeak));
        figures.truePeakDbtp.push_back(decibels(truePeak));
    }
    return figures;
}

LoudnessFigures LoudnessMeter::measureFile(const std::string& path)
{
    AudioFileReader reader(path);
    LoudnessMeter meter(reader.getChannels(), reader.getSampleRate());
    constexpr size_t blockFrames = 4096;
    std::vector<float> block(blockFrames * static_cast<size_t>(reader.getChannels()));
    while (const size_t read = reader.read(block.data(), blockFrames))
    {
        meter.addFrames(block.data(), read);
    }
    return meter.getFigures();
}
