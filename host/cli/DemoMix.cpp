#include "DemoMix.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr double twoPi = 6.283185307179586;

double midiToHertz(int note)
{
    return 440.0 * std::pow(2.0, (note - 69) / 12.0);
}

// Uniform noise in -1..1 from a 32-bit linear congruential generator.
double nextNoise(unsigned& state)
{
    state = state * 1664525u + 1013904223u;
    return static_cast<double>(state >> 8) / 8388608.0 - 1.0;
}

// Sum of the first harmonics of a sawtooth, stopping below Nyquist so the
// tone does not alias at low sample rates.
// Harmonic k has the amplitude 1 / k^rolloffPower.
double bandLimitedSaw(double phase, double frequency, double sampleRate, int harmonics, int rolloffPower)
{
    double sum = 0.0;
    for (int k = 1; k <= harmonics && k * frequency < 0.45 * sampleRate; ++k)
    {
        double weight = 1.0;
        for (int power = 0; power < rolloffPower; ++power)
        {
            weight *= k;
        }
        sum += std::sin(k * phase) / weight;
    }
    return sum;
}

// Chords of the loop, one per bar, and the bass roots under them.
constexpr int chordNotes[4][3] = {{57, 60, 64}, {53, 57, 60}, {55, 60, 64}, {55, 59, 62}};
constexpr int bassNotes[4] = {33, 29, 36, 31};
// Bass rhythm within a bar, in beats.
constexpr double bassOnsets[] = {0.0, 0.75, 1.5, 2.0, 2.5, 3.25};
constexpr double bassLengthBeats = 0.6;
}

DemoMix::DemoMix(int sampleRate)
    : sampleRate(sampleRate)
{
}

std::vector<float> DemoMix::render(double seconds) const
{
    const size_t frames = static_cast<size_t>(std::max(0.0, std::round(seconds * sampleRate)));
    std::vector<double> left(frames, 0.0);
    std::vector<double> right(frames, 0.0);
    unsigned noiseState = 0x5EED1234u;

    const double barSeconds = beatSeconds * beatsPerBar;
    for (int bar = 0; bar * barSeconds < seconds; ++bar)
    {
        const double barStart = bar * barSeconds;
        const int chord = bar % 4;
        addChord(left, right, barStart, barSeconds, chordNotes[chord]);
        for (double onset : bassOnsets)
        {
            addBassNote(left, right, barStart + onset * beatSeconds, bassLengthBeats * beatSeconds,
                        midiToHertz(bassNotes[chord]));
        }
        for (int beat = 0; beat < beatsPerBar; ++beat)
        {
            const double beatStart = barStart + beat * beatSeconds;
            addKick(left, right, beatStart);
            if (beat % 2 == 1)
            {
                addSnare(left, right, beatStart, noiseState);
            }
            addHat(left, right, beatStart, 0.5, noiseState);
            addHat(left, right, beatStart + 0.5 * beatSeconds, 1.0, noiseState);
        }
        // A pickup kick at the end of every fourth bar.
        if (chord == 3)
        {
            addKick(left, right, barStart + 3.5 * beatSeconds);
        }
    }

    double peak = 0.0;
    for (size_t i = 0; i < frames; ++i)
    {
        peak = std::max({peak, std::fabs(left[i]), std::fabs(right[i])});
    }
    const double scale = peak > 0.0 ? std::pow(10.0, peakDbfs / 20.0) / peak : 0.0;
    std::vector<float> interleaved(2 * frames);
    for (size_t i = 0; i < frames; ++i)
    {
        interleaved[2 * i] = static_cast<float>(left[i] * scale);
        interleaved[2 * i + 1] = static_cast<float>(right[i] * scale);
    }
    return interleaved;
}

// A sine whose pitch falls from 155 Hz to 45 Hz within a few tens of
// milliseconds: the click and the boom of a kick drum.
void DemoMix::addKick(std::vector<double>& left, std::vector<double>& right, double startSeconds) const
{
    const size_t first = static_cast<size_t>(std::round(startSeconds * sampleRate));
    const size_t length = static_cast<size_t>(0.35 * sampleRate);
    double phase = 0.0;
    for (size_t n = 0; n < length && first + n < left.size(); ++n)
    {
        const double t = static_cast<double>(n) / sampleRate;
        const double frequency = 45.0 + 110.0 * std::exp(-t / 0.03);
        phase += twoPi * frequency / sampleRate;
        const double attack = std::min(1.0, t / 0.0005);
        const double sample = 0.9 * attack * std::exp(-t / 0.22) * std::sin(phase);
        left[first + n] += sample;
        right[first + n] += sample;
    }
}

// A short tone at 185 Hz for the shell and brightened noise for the wires.
void DemoMix::addSnare(std::vector<double>& left, std::vector<double>& right, double startSeconds,
                       unsigned& noiseState) const
{
    const size_t first = static_cast<size_t>(std::round(startSeconds * sampleRate));
    const size_t length = static_cast<size_t>(0.3 * sampleRate);
    double previousNoise = 0.0;
    for (size_t n = 0; n < length && first + n < left.size(); ++n)
    {
        const double t = static_cast<double>(n) / sampleRate;
        const double noise = nextNoise(noiseState);
        const double wires = 0.5 * (noise - previousNoise);
        previousNoise = noise;
        const double shell = std::sin(twoPi * 185.0 * t) * std::exp(-t / 0.04);
        const double sample = 0.35 * shell + 0.4 * wires * std::exp(-t / 0.09);
        left[first + n] += sample;
        right[first + n] += 0.95 * sample;
    }
}

// Noise through two first differences (a steep rise towards the top of the
// band) with a very short decay; placed a little to the right.
void DemoMix::addHat(std::vector<double>& left, std::vector<double>& right, double startSeconds, double level,
                     unsigned& noiseState) const
{
    const size_t first = static_cast<size_t>(std::round(startSeconds * sampleRate));
    const size_t length = static_cast<size_t>(0.08 * sampleRate);
    double previous = 0.0;
    double previousDifference = 0.0;
    for (size_t n = 0; n < length && first + n < left.size(); ++n)
    {
        const double t = static_cast<double>(n) / sampleRate;
        const double noise = nextNoise(noiseState);
        const double difference = noise - previous;
        const double secondDifference = difference - previousDifference;
        previous = noise;
        previousDifference = difference;
        const double sample = 0.06 * level * secondDifference * std::exp(-t / 0.015);
        left[first + n] += 0.7 * sample;
        right[first + n] += sample;
    }
}

// A plucked sawtooth bass: fast attack, decay, and a short release at the end
// of the note so it does not click.
void DemoMix::addBassNote(std::vector<double>& left, std::vector<double>& right, double startSeconds,
                          double lengthSeconds, double frequency) const
{
    const size_t first = static_cast<size_t>(std::round(startSeconds * sampleRate));
    const size_t length = static_cast<size_t>(lengthSeconds * sampleRate);
    const double releaseSeconds = 0.01;
    for (size_t n = 0; n < length && first + n < left.size(); ++n)
    {
        const double t = static_cast<double>(n) / sampleRate;
        const double phase = twoPi * frequency * t;
        const double attack = std::min(1.0, t / 0.003);
        const double release = std::min(1.0, (lengthSeconds - t) / releaseSeconds);
        const double envelope = attack * release * (0.4 + 0.6 * std::exp(-t / 0.15));
        const double sample = 0.22 * envelope * bandLimitedSaw(phase, frequency, sampleRate, 8, 1);
        left[first + n] += sample;
        right[first + n] += sample;
    }
}

// Three notes, each from two oscillators detuned by 4 cents and placed
// left and right, with a soft attack and release: a wide pad.
void DemoMix::addChord(std::vector<double>& left, std::vector<double>& right, double startSeconds, double lengthSeconds,
                       const int (&midiNotes)[3]) const
{
    const size_t first = static_cast<size_t>(std::round(startSeconds * sampleRate));
    const size_t length = static_cast<size_t>(lengthSeconds * sampleRate);
    const double detune = std::pow(2.0, 4.0 / 1200.0);
    for (int note : midiNotes)
    {
        const double frequency = midiToHertz(note);
        for (size_t n = 0; n < length && first + n < left.size(); ++n)
        {
            const double t = static_cast<double>(n) / sampleRate;
            const double envelope = std::min({1.0, t / 0.08, (lengthSeconds - t) / 0.1});
            const double lower = bandLimitedSaw(twoPi * frequency / detune * t, frequency, sampleRate, 5, 2);
            const double upper = bandLimitedSaw(twoPi * frequency * detune * t, frequency, sampleRate, 5, 2);
            left[first + n] += 0.05 * envelope * (0.9 * lower + 0.5 * upper);
            right[first + n] += 0.05 * envelope * (0.5 * lower + 0.9 * upper);
        }
    }
}
