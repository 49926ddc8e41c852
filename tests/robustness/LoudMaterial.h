#pragma once

#include <cstdint>

// Loud, music-like stereo material made from arithmetic alone, the same on
// every run and at any sample rate, so that no recording is needed: a drum
// kit with sharp transients (pitch-swept kick with a click, snare, hats), a
// band-limited bass line, chords, pink-ish noise, a brick-walled "master"
// (the mix pushed about 6 dB into a hard clip) and signals whose true peak
// lies between the samples (a quarter-rate sine sampled at 45 degrees, naive
// square waves, a Nyquist square). It plays as an endless sequence of
// sections of equal length, with sample peaks from 0 to about +4 dBFS and
// true peaks up to about +5 dBFS before any extra gain, as a hot mix bus
// feeds a mastering limiter.
class LoudMaterial
{
public:
    enum Section
    {
        kDrums,
        kBassAndDrums,
        kFullMix,
        kClippedMaster,
        kInterSamplePeaks,
        kNoise,
        kSectionCount
    };

    LoudMaterial(double sampleRate, uint32_t seed, double sectionSeconds = 2.0);

    // The next frames samples of both channels, times gain.
    void render(float* left, float* right, int frames, float gain = 1.0f);

    Section currentSection() const;
    static const char* sectionName(Section section);
    double sampleRate() const { return rate; }

private:
    struct Voice
    {
        uint32_t noiseState;
        double pink[3];
        double previousNoise;
        double kickPhase;
        double bassPhase;
        double chordPhase[3];
        double squarePhase;
    };

    double nextSample(Voice& voice, int channel);
    double drums(Voice& voice, int channel, double beatTime, int beat);
    double bass(Voice& voice, double beatTime, int bar);
    double chords(Voice& voice, int channel, int bar);
    double whiteNoise(Voice& voice);
    double pinkNoise(Voice& voice);
    double interSamplePeaks(Voice& voice, int channel);

    double rate;
    int64_t sectionLength;
    int64_t position;
    Voice voices[2];
};
