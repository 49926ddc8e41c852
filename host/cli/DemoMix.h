#pragma once

#include <vector>

// A short groove of drums, bass and chords (120 BPM, a four-bar loop of Am, F,
// C, G), synthesised sample by sample from fixed recipes and a fixed noise
// seed, so every run and every machine gets the same samples. It is the demo's
// input and the benchmark's material; its peak is scaled to -3 dBFS.
class DemoMix
{
public:
    explicit DemoMix(int sampleRate);

    // Interleaved stereo, `seconds` long; the loop repeats as needed.
    std::vector<float> render(double seconds) const;

    static constexpr double beatSeconds = 0.5;
    static constexpr int beatsPerBar = 4;
    static constexpr double peakDbfs = -3.0;

private:
    void addKick(std::vector<double>& left, std::vector<double>& right, double startSeconds) const;
    void addSnare(std::vector<double>& left, std::vector<double>& right, double startSeconds,
                  unsigned& noiseState) const;
    void addHat(std::vector<double>& left, std::vector<double>& right, double startSeconds, double level,
                unsigned& noiseState) const;
    void addBassNote(std::vector<double>& left, std::vector<double>& right, double startSeconds, double lengthSeconds,
                     double frequency) const;
    void addChord(std::vector<double>& left, std::vector<double>& right, double startSeconds, double lengthSeconds,
                  const int (&midiNotes)[3]) const;

    int sampleRate;
};
