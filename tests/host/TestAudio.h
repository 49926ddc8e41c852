#pragma once

#include <string>
#include <utility>
#include <vector>

// An audio file's samples and shape, read and written with libsndfile
// directly so the tests do not lean on the host's own file classes.
struct TestAudio
{
    int channels = 0;
    int sampleRate = 0;
    int format = 0;
    std::vector<float> samples; // interleaved

    size_t frames() const { return channels > 0 ? samples.size() / static_cast<size_t>(channels) : 0; }
    float at(size_t frame, int channel) const
    {
        return samples[frame * static_cast<size_t>(channels) + static_cast<size_t>(channel)];
    }

    // BS.1770 figures by libebur128 itself, not by the host's meters: the
    // integrated loudness gated over all the tracks together, and per channel
    // the largest true peak of any track in dBTP.
    struct Measured
    {
        double lufs;
        std::vector<double> truePeakDbtp;
    };
    static Measured measure(const std::vector<TestAudio>& tracks);

    static TestAudio read(const std::string& path);
    // Writes the file and hands back the audio, for a test that keeps both.
    const TestAudio& write(const std::string& path) const;

    // Deterministic white noise, different in each channel, at `level` peak.
    static TestAudio noise(int channels, int sampleRate, size_t frames, float level, int format);
    // A sum of sines (Hz, amplitude), the same in every channel.
    static TestAudio sines(int channels, int sampleRate, size_t frames,
                           const std::vector<std::pair<double, double>>& partials, int format);
};
