#include "LoudMaterial.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr double pi = 3.14159265358979323846;
constexpr double twoPi = 2.0 * pi;
constexpr double beatSeconds = 60.0 / 128.0;

// One bar per entry, four bars to the loop.
constexpr double bassNotes[4] = {55.0, 55.0, 65.41, 49.0};
constexpr double chordNotes[4][3] = {
    {220.0, 261.63, 329.63},
    {174.61, 220.0, 261.63},
    {261.63, 329.63, 392.0},
    {196.0, 246.94, 293.66},
};

double advance(double& phase, double frequency, double rate)
{
    phase += twoPi * frequency / rate;
    if (phase >= twoPi)
    {
        phase -= twoPi;
    }
    return phase;
}

// Harmonics up to the Nyquist frequency only, so the material itself has no
// aliasing: a limiter's overshoot is then the limiter's own.
double bandLimited(double phase, double frequency, double rate, int harmonics, double rolloff)
{
    double sum = 0.0;
    for (int k = 1; k <= harmonics && k * frequency < 0.5 * rate; ++k)
    {
        sum += std::sin(k * phase) / std::pow(k, rolloff);
    }
    return sum;
}
}

LoudMaterial::LoudMaterial(double sampleRate, uint32_t seed, double sectionSeconds)
    : rate(sampleRate),
      sectionLength(std::max<int64_t>(1, static_cast<int64_t>(sectionSeconds * sampleRate))),
      position(0),
      voices()
{
    for (int channel = 0; channel < 2; ++channel)
    {
        voices[channel].noiseState = seed * 2654435761u + 97u * static_cast<uint32_t>(channel) + 1u;
    }
}

void LoudMaterial::render(float* left, float* right, int frames, float gain)
{
    for (int i = 0; i < frames; ++i)
    {
        left[i] = static_cast<float>(gain * nextSample(voices[0], 0));
        right[i] = static_cast<float>(gain * nextSample(voices[1], 1));
        ++position;
    }
}

LoudMaterial::Section LoudMaterial::currentSection() const
{
    return static_cast<Section>((position / sectionLength) % kSectionCount);
}

const char* LoudMaterial::sectionName(Section section)
{
    switch (section)
    {
    case kDrums:
        return "drums";
    case kBassAndDrums:
        return "bass and drums";
    case kFullMix:
        return "full mix";
    case kClippedMaster:
        return "clipped master";
    case kInterSamplePeaks:
        return "inter-sample peaks";
    case kNoise:
        return "noise";
    default:
        return "?";
    }
}

double LoudMaterial::nextSample(Voice& voice, int channel)
{
    const double t = static_cast<double>(position) / rate;
    const int64_t beat = static_cast<int64_t>(t / beatSeconds);
    const double beatTime = t - static_cast<double>(beat) * beatSeconds;
    const int bar = static_cast<int>((beat / 4) % 4);
    const int beatInBar = static_cast<int>(beat % 4);

    switch (currentSection())
    {
    case kDrums:
        return 0.7 * drums(voice, channel, beatTime, beatInBar);
    case kBassAndDrums:
        return 0.55 * drums(voice, channel, beatTime, beatInBar) + 0.7 * bass(voice, beatTime, bar);
    case kFullMix:
        return 0.5 * (drums(voice, channel, beatTime, beatInBar) + bass(voice, beatTime, bar)
                      + chords(voice, channel, bar) + 0.15 * pinkNoise(voice));
    case kClippedMaster:
    {
        const double mix = drums(voice, channel, beatTime, beatInBar) + bass(voice, beatTime, bar)
                           + chords(voice, channel, bar) + 0.15 * pinkNoise(voice);
        return std::clamp(0.6 * mix, -1.0, 1.0);
    }
    case kInterSamplePeaks:
        return interSamplePeaks(voice, channel);
    case kNoise:
        return 0.5 * whiteNoise(voice) + 0.6 * pinkNoise(voice);
    default:
        return 0.0;
    }
}

double LoudMaterial::drums(Voice& voice, int channel, double beatTime, int beat)
{
    // Kick: a sine falling from 155 Hz to 45 Hz, restarted on every beat,
    // with a 1.5 ms noise click in front of it.
    if (beatTime * rate < 1.0)
    {
        voice.kickPhase = 0.0;
    }
    const double kickFrequency = 45.0 + 110.0 * std::exp(-30.0 * beatTime);
    double kick = std::sin(advance(voice.kickPhase, kickFrequency, rate)) * std::exp(-7.0 * beatTime);
    const double noise = whiteNoise(voice);
    if (beatTime < 0.0015)
    {
        kick += 0.8 * noise * (1.0 - beatTime / 0.0015);
    }

    // Snare on the off-beats: a noise burst and a 185 Hz body.
    double snare = 0.0;
    if (beat % 2 == 1)
    {
        snare = 0.6 * noise * std::exp(-20.0 * beatTime)
                + 0.4 * std::sin(twoPi * 185.0 * beatTime) * std::exp(-30.0 * beatTime);
    }

    // Hats on the eighths: differentiated noise is bright, panned apart.
    const double hatTime = std::fmod(beatTime, 0.5 * beatSeconds);
    const double bright = noise - voice.previousNoise;
    voice.previousNoise = noise;
    const double hat = (channel == 0 ? 0.2 : 0.3) * bright * std::exp(-70.0 * hatTime);

    return kick + snare + hat;
}

double LoudMaterial::bass(Voice& voice, double beatTime, int bar)
{
    const double frequency = bassNotes[bar];
    const double saw = bandLimited(advance(voice.bassPhase, frequency, rate), frequency, rate, 8, 1.0);
    // Ducked on every beat, as a side-chained bass is.
    const double duck = 1.0 - 0.4 * std::exp(-6.0 * beatTime);
    return 0.45 * saw * duck;
}

double LoudMaterial::chords(Voice& voice, int channel, int bar)
{
    const double detune = channel == 0 ? 0.997 : 1.003;
    double sum = 0.0;
    for (int note = 0; note < 3; ++note)
    {
        const double frequency = chordNotes[bar][note] * detune;
        sum += bandLimited(advance(voice.chordPhase[note], frequency, rate), frequency, rate, 4, 1.5);
    }
    return 0.18 * sum;
}

double LoudMaterial::whiteNoise(Voice& voice)
{
    voice.noiseState = voice.noiseState * 1664525u + 1013904223u;
    return static_cast<double>(voice.noiseState >> 8) * (2.0 / 16777216.0) - 1.0;
}

double LoudMaterial::pinkNoise(Voice& voice)
{
    // Three leaky integrators of white noise sum to a -3 dB/octave slope
    // over the audio band.
    const double white = whiteNoise(voice);
    voice.pink[0] = 0.99765 * voice.pink[0] + 0.0990460 * white;
    voice.pink[1] = 0.96300 * voice.pink[1] + 0.2965164 * white;
    voice.pink[2] = 0.57000 * voice.pink[2] + 1.0526913 * white;
    return 0.25 * (voice.pink[0] + voice.pink[1] + voice.pink[2] + 0.1848 * white);
}

double LoudMaterial::interSamplePeaks(Voice& voice, int channel)
{
    const int64_t n = position;
    const int quarter = static_cast<int>(4 * (position % sectionLength) / sectionLength);
    // A naive (not band-limited) 997 Hz square: every edge rings between the
    // samples once reconstructed.
    const double square = std::sin(advance(voice.squarePhase, 997.0, rate)) >= 0.0 ? 1.0 : -1.0;
    // A quarter-rate sine sampled at 45 degrees: samples +-0.7071, true peak 1.
    const double quarterRate = std::sin(0.5 * pi * static_cast<double>(n) + 0.25 * pi);
    switch (quarter)
    {
    case 0:
        return channel == 0 ? quarterRate : square;
    case 1:
        return channel == 0 ? square : quarterRate;
    case 2:
        // Nyquist square, opposite polarity on the two sides.
        return ((n % 2 == 0) == (channel == 0)) ? 1.0 : -1.0;
    default:
        // Three samples up, three down: a square at a sixth of the rate.
        return (n / 3) % 2 == 0 ? 1.0 : -1.0;
    }
}
