#pragma once

#include "blocks/RandomGenerator.h"
#include "limiter/CLimiter.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

// Signals, settings and a block-wise renderer shared by the limiter's tests.
namespace limiter_test
{
// [channel][frame]
using Buffer = std::vector<std::vector<float>>;

// Input sample n leaves the limiter at output sample n + latency.
constexpr int latency = 1535;

inline Buffer makeBuffer(int channels, int frames)
{
    return Buffer(static_cast<size_t>(channels), std::vector<float>(static_cast<size_t>(frames), 0.0f));
}

// One setting, as the host may send it between two blocks.
struct Change
{
    int which;
    float value;

    template <typename Limiter>
    void applyTo(Limiter& l) const
    {
        switch (which)
        {
        case 0: l.setInputGain(value); break;
        case 1: l.setAttack(value); break;
        case 2: l.setRelease(value); break;
        case 3: l.setLookahead(value); break;
        case 4: l.setTruePeak(value > 0.5f); break;
        case 5: l.setCeiling(value); break;
        case 6: l.setLink(value); break;
        case 7: l.setAES17(value > 0.5f); break;
        case 8: l.setMonitor(value > 0.5f); break;
        case 9: l.setSaturation(value); break;
        case 10: l.setNumBits(int8_t(value)); break;
        case 11: l.setShaping(value); break;
        default: l.setSampleRate(value); break;
        }
    }
};

constexpr int settingCount = 13;

// Every limiter setting, by its index in Change, with the values most tests
// start from: no saturation and no word-length reduction, so the path is
// plain gain. The with... calls change one setting each and chain:
// Settings().withAttack(0.0f).withLink(0.0f).
struct Settings
{
    float value[settingCount] = {0.0f, 0.08f, 0.5f, 0.002f, 0.0f, 0.0f, 0.35f, 1.0f, 0.0f, 0.0f, 0.0f, 0.0f, 44100.0f};

    Settings& with(int which, float v) { value[which] = v; return *this; }
    Settings& withGain(float dB) { return with(0, dB); }
    Settings& withAttack(float seconds) { return with(1, seconds); }
    Settings& withRelease(float seconds) { return with(2, seconds); }
    Settings& withLookahead(float seconds) { return with(3, seconds); }
    Settings& withTruePeak(bool on) { return with(4, on); }
    Settings& withCeiling(float dB) { return with(5, dB); }
    Settings& withLink(float amount) { return with(6, amount); }
    Settings& withAes17(bool on) { return with(7, on); }
    Settings& withMonitor(bool on) { return with(8, on); }
    Settings& withSaturation(float amount) { return with(9, amount); }
    Settings& withBits(int wordLength) { return with(10, float(wordLength)); }
    Settings& withShaping(float amount) { return with(11, amount); }
    Settings& withRate(float hz) { return with(12, hz); }
};

// Edges are drawn often: zero times, the look-ahead clamps, the middle of
// the link range, pass-through word lengths, rates outside the clamp.
inline Change randomChange(std::mt19937& random, int which)
{
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    const float u = unit(random);
    const bool edge = random() % 4 == 0;
    switch (which)
    {
    case 0: return {which, -12.0f + 30.0f * u};
    case 1: return {which, edge ? 0.0f : 0.2f * u};
    case 2: return {which, edge ? 0.0f : 1.5f * u};
    case 3: return {which, edge ? (u < 0.5f ? 0.0f : 0.02f) : 0.012f * u};
    case 5: return {which, edge ? (u < 0.5f ? 0.0f : -0.1f) : -12.0f * u};
    case 6: return {which, edge ? 0.5f : u};
    case 9: return {which, edge ? 0.0f : u};
    case 10: return {which, float(std::vector<int>{-1, 0, 8, 16, 24}[random() % 5])};
    case 12: return {which, std::vector<float>{10000.0f, 22050.0f, 44100.0f, 48000.0f, 96000.0f, 400000.0f}[random() % 6]};
    default: return {which, u};
    }
}

// A limiter with every setting applied, the rate first.
class SetUpLimiter : public CLimiter
{
public:
    explicit SetUpLimiter(const Settings& s, int channels = 2) : CLimiter(channels)
    {
        for (int k = 0; k < settingCount; ++k)
        {
            const int which = (k + settingCount - 1) % settingCount;
            Change{which, s.value[which]}.applyTo(*this);
        }
    }
};

// Runs the input through the limiter in blocks of blockSize frames (the last
// one shorter).
inline Buffer render(CLimiter& limiter, const Buffer& in, int blockSize)
{
    const int channels = static_cast<int>(in.size());
    const int frames = static_cast<int>(in[0].size());
    Buffer out = makeBuffer(channels, frames);
    std::vector<const float*> inputs(static_cast<size_t>(channels));
    std::vector<float*> outputs(static_cast<size_t>(channels));
    for (int pos = 0; pos < frames; pos += blockSize)
    {
        const int count = std::min(blockSize, frames - pos);
        for (int ch = 0; ch < channels; ++ch)
        {
            outputs[ch] = out[ch].data() + pos;
            inputs[ch] = in[ch].data() + pos;
        }
        limiter.process(inputs.data(), outputs.data(), count);
    }
    return out;
}

// The output of a fresh limiter with these settings, in blocks of 512.
inline Buffer limit(const Settings& s, const Buffer& in)
{
    SetUpLimiter limiter(s, static_cast<int>(in.size()));
    return render(limiter, in, 512);
}

const double pi = 3.14159265358979323846;

// Silence becomes +-1e-8 noise ahead of the 1 Hz high-pass, whose output is
// p*(noise - state), state being a weighted average of earlier noise
// (|state| <= 1e-8): the output of silence is at most 2e-8 in magnitude.
const float noiseBound = 2.01e-8f;

// Level of +-0.1 through the 1 Hz input high-pass at 44.1 kHz: its pole is
// p = exp(-2 atan(pi/fs)) and its gain for samples alternating in sign
// 2p/(1+p).
const double quietLevel = 0.1 * 2.0 / (1.0 + std::exp(2.0 * std::atan(pi / 44100.0)));

// Largest relative deviation of |channel[n]| from expected over [from, to).
inline double worstRelativeDeviation(const std::vector<float>& channel, int from, int to, double expected)
{
    double worst = 0.0;
    for (int n = from; n < to; ++n)
        worst = std::max(worst, std::fabs(std::fabs(channel[n]) - expected) / expected);
    return worst;
}

// Renders from the generator states a process starts with, so that two
// renders are comparable bit for bit, noise and dither included.
inline Buffer renderFromStart(const Settings& settings, const Buffer& in)
{
    randState.store(0);
    noiseSeed.store(0);
    return limit(settings, in);
}

// A loud stereo mix that keeps the limiter busy: a bass line, mid and high
// tones and noise, cut into sections that alternate between a dense loud
// part, near silence broken by single-sample clicks, a quarter-rate tone
// whose true peak lies between the samples, and hard on/off bursts.
// Peaks reach about 5.7 (+15 dBFS) before any input gain.
inline Buffer loudMix(float sampleRate, int frames, uint32_t seed)
{
    const double pi = 3.14159265358979323846;
    const double fs = static_cast<double>(sampleRate);
    const int section = 2048;
    Buffer out = makeBuffer(2, frames);
    // The tests' own generator: the program-wide ones of the code under test
    // stay untouched.
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
    const auto next = [&] { return unit(random); };
    for (int ch = 0; ch < 2; ++ch)
    {
        const double detune = 1.0 + 0.013 * ch;
        int nextClick = 17 + 29 * ch;
        for (int n = 0; n < frames; ++n)
        {
            const double t = n / fs;
            double music = 0.9 * std::sin(2.0 * pi * 55.0 * detune * t)
                + 0.45 * std::sin(2.0 * pi * 441.0 * detune * t + ch)
                + 0.3 * next();
            if (fs > 2.0 * 3600.0)
                music += 0.25 * std::sin(2.0 * pi * 3600.0 * detune * t);
            double x = 0.0;
            switch ((n / section + ch) % 4)
            {
            case 0:
                x = 1.8 * music;
                break;
            case 1:
                x = 0.02 * music;
                if (n == nextClick)
                {
                    x = (next() < 0.0f ? -1.0 : 1.0) * (1.5 + 2.0 * std::fabs(next()));
                    nextClick += 23 + static_cast<int>(200.0f * std::fabs(next()));
                }
                break;
            case 2:
                x = 0.4 * music + 2.5 * std::sin(pi / 2.0 * n + pi / 4.0);
                break;
            default:
                x = ((n / 97) % 3 == 0) ? 3.0 * music : 0.01 * music;
                break;
            }
            if (n > nextClick)
                nextClick = n + 13;
            out[ch][n] = static_cast<float>(x);
        }
    }
    return out;
}

// Samples alternating +amplitude, -amplitude: every sample is a peak of the
// same size, so the sliding maximum is constant and the limiter's gain is
// easy to predict.
inline void fillAlternating(std::vector<float>& channel, int from, int to, float amplitude)
{
    for (int n = from; n < to; ++n)
        channel[n] = (n % 2 == 0) ? amplitude : -amplitude;
}

// Stereo peaks of constant size: left and right alternate in sign at these
// amplitudes.
inline Buffer alternating(int frames, float left, float right)
{
    Buffer out = makeBuffer(2, frames);
    fillAlternating(out[0], 0, frames, left);
    fillAlternating(out[1], 0, frames, right);
    return out;
}
}
