#include "TestAudio.h"

#include <ebur128.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

TestAudio::Measured TestAudio::measure(const std::vector<TestAudio>& tracks)
{
    std::vector<ebur128_state*> states;
    Measured measured{0.0, std::vector<double>(static_cast<size_t>(tracks.at(0).channels), -HUGE_VAL)};
    for (const TestAudio& track : tracks)
    {
        states.push_back(ebur128_init(static_cast<unsigned>(track.channels),
                                      static_cast<unsigned long>(track.sampleRate),
                                      EBUR128_MODE_I | EBUR128_MODE_TRUE_PEAK));
        ebur128_add_frames_float(states.back(), track.samples.data(), track.frames());
        for (size_t channel = 0; channel < measured.truePeakDbtp.size(); ++channel)
        {
            double peak = 0.0;
            ebur128_true_peak(states.back(), static_cast<unsigned>(channel), &peak);
            measured.truePeakDbtp[channel] = std::max(measured.truePeakDbtp[channel], 20.0 * std::log10(peak));
        }
    }
    ebur128_loudness_global_multiple(states.data(), states.size(), &measured.lufs);
    for (ebur128_state* state : states)
    {
        ebur128_destroy(&state);
    }
    return measured;
}

TestAudio TestAudio::read(const std::string& path)
{
    SF_INFO info = {};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    if (file == nullptr)
    {
        throw std::runtime_error("cannot read " + path + ": " + sf_strerror(nullptr));
    }
    TestAudio audio;
    audio.channels = info.channels;
    audio.sampleRate = info.samplerate;
    audio.format = info.format;
    // A file written as a stream may not state its length: read to the end.
    std::vector<float> block(4096 * static_cast<size_t>(info.channels));
    while (const sf_count_t got = sf_readf_float(file, block.data(), 4096))
    {
        audio.samples.insert(audio.samples.end(), block.begin(), block.begin() + got * info.channels);
    }
    sf_close(file);
    return audio;
}

const TestAudio& TestAudio::write(const std::string& path) const
{
    SF_INFO info = {};
    info.channels = channels;
    info.samplerate = sampleRate;
    info.format = format;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    if (file == nullptr)
    {
        throw std::runtime_error("cannot write " + path + ": " + sf_strerror(nullptr));
    }
    sf_writef_float(file, samples.data(), static_cast<sf_count_t>(frames()));
    sf_close(file);
    return *this;
}

TestAudio TestAudio::noise(int channels, int sampleRate, size_t frames, float level, int format)
{
    TestAudio audio{channels, sampleRate, format, std::vector<float>(frames * static_cast<size_t>(channels))};
    unsigned state = 12345u;
    for (float& sample : audio.samples)
    {
        state = state * 1103515245u + 12345u;
        sample = level * (static_cast<float>(state >> 8) / 8388608.0f - 1.0f);
    }
    return audio;
}

TestAudio TestAudio::sines(int channels, int sampleRate, size_t frames,
                           const std::vector<std::pair<double, double>>& partials, int format)
{
    TestAudio audio{channels, sampleRate, format, std::vector<float>(frames * static_cast<size_t>(channels))};
    const double twoPi = 6.283185307179586;
    for (size_t frame = 0; frame < frames; ++frame)
    {
        double sum = 0.0;
        for (const auto& partial : partials)
        {
            sum += partial.second * std::sin(twoPi * partial.first * static_cast<double>(frame) / sampleRate);
        }
        for (int channel = 0; channel < channels; ++channel)
        {
            audio.samples[frame * static_cast<size_t>(channels) + static_cast<size_t>(channel)] =
                static_cast<float>(sum);
        }
    }
    return audio;
}
