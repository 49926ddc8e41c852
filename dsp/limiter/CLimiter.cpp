#include "limiter/CLimiter.h"

#include "processor/DenormalGuard.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr int fftSize = 1024;
constexpr int frameSize = 1024;
constexpr int hopSize = 512;
constexpr int sineOfSineSquaredWindow = 0;

constexpr float minTime = 1e-8f;
constexpr float noiseLevel = 1e-8f;
constexpr float rmsTimeConstant = 0.065144174f;

// Anti-denormal noise generator, shared by every limiter in the process and
// never reseeded, like the quantizer's dither generator.
std::atomic<uint32_t> noiseSeed{0};

constexpr auto relaxed = std::memory_order_relaxed;

float dBToGain(float dB)
{
    return std::pow(10.0f, dB * 0.05f);
}

float timeToCoef(float seconds, float fs)
{
    return std::exp(-1.0f / (fs * seconds));
}

// Polynomial soft clipper: unity slope at 0, flat at +-1 from +-2 on.
float softClip(float x)
{
    if (x >= 2.0f)
        return 1.0f;
    if (x <= -2.0f)
        return -1.0f;
    if (x > 0.0f)
        return x - 0.25f * x * x;
    return x + 0.25f * x * x;
}
}

CLimiter::CLimiter(int channelCount)
    : CPsychoProcessor(channelCount, channelCount, fftSize, frameSize, hopSize, sineOfSineSquaredWindow),
      channels(channelCount),
      channel(new Channel[size_t(std::max(channelCount, 0))]),
      inputGain(1.0f),
      ceiling(1.0f),
      link(0.35f),
      truePeak(false),
      aes17(true),
      monitor(false),
      lookaheadTime(0.002f),
      attackTime(0.08f),
      releaseTime(0.5f),
      saturation(0.5f),
      numBits(-1),
      shaping(0.0f),
      lookaheadSamples(4),
      attackCoef(0.0f),
      releaseCoef(0.0f),
      smoothCoef(0.0f),
      clipLevel(1.0f),
      updatePending(false),
      writeIndex(0),
      residualFrame(size_t(frameSize), 0.0f),
      residualSpectrum(size_t(fftSize), 0.0f),
      maskThreshold(size_t(fftSize / 2), 0.0f),
      residualBandPower(size_t(fftSize / 2), 0.0f)
{
    for (int ch = 0; ch < channels; ++ch)
        channel[ch].inputBandPower.assign(size_t(fftSize / 2), 0.0f);
    CLimiter::update();
    CLimiter::clear();
}

void CLimiter::update()
{
    CPsychoProcessor::update();
    updateCoefficients();
    configureChannels();
}

void CLimiter::updateCoefficients()
{
    updateLookahead(lookaheadTime.load(relaxed));
    attackCoef.store(timeToCoef(attackTime.load(relaxed), fs), relaxed);
    releaseCoef.store(timeToCoef(releaseTime.load(relaxed), fs), relaxed);

    // The clip level lies on the output word-length grid, rounded down, so
    // the quantised output can reach it but never pass it.
    float level = ceiling.load(relaxed);
    const int8_t bits = numBits.load(relaxed);
    if (bits > 2)
    {
        const float steps = float(1 << (bits - 1));
        level = std::floor(level * steps) / steps;
    }
    clipLevel.store(level, relaxed);
}

void CLimiter::updateLookahead(float seconds)
{
    int samples = int(fs * seconds + 0.5f);
    samples = std::min(samples, delayMask - 4);
    samples = std::max(samples, 4);
    lookaheadSamples.store(samples, relaxed);
    smoothCoef.store(std::exp(-10.0f / float(samples)), relaxed);
}

void CLimiter::configureChannels()
{
    updatePending.store(false, relaxed);
    const int8_t bits = numBits.load(relaxed);
    for (int ch = 0; ch < channels; ++ch)
    {
        Channel& c = channel[ch];
        c.inputFilter.setNormFreq(1.0f / fs);
        c.peakMeter.setTime(1.0f, fs, 1);
        c.rmsSmoother.setTimeConstant(rmsTimeConstant, fs);
        c.rmsMeter.setTime(0.5f, fs, 1);
        c.gainMeter.setTime(0.5f, fs, 1);
        c.gainMeter.setInverted(true);
        c.gainMeter.setUpperLimit(1.0f);
        c.saturationMeter.setInverted(true);
        c.saturationMeter.setUpperLimit(1.0f);
        c.saturationMeter.setTime(0.5f, fs, hopSize);
        c.truePeakDetector.setSampleRate(fs);
        c.quantizer.setRate(fs);
        c.quantizer.setWordLength(bits);
    }
}

void CLimiter::clear()
{
    writeIndex = 0;
    CPsychoProcessor::clear();
    std::fill(residualFrame.begin(), residualFrame.end(), 0.0f);
    std::fill(residualSpectrum.begin(), residualSpectrum.end(), 0.0f);
    std::fill(maskThreshold.begin(), maskThreshold.end(), 0.0f);
    std::fill(residualBandPower.begin(), residualBandPower.end(), 0.0f);
    for (int ch = 0; ch < channels; ++ch)
    {
        Channel& c = channel[ch];
        std::fill(c.inputBandPower.begin(), c.inputBandPower.end(), 0.0f);
        c.inputFilter.clear();
        c.rmsSmoother.clear();
        c.rmsMeter.reset();
        c.peakMeter.reset();
        c.gainMeter.reset();
        c.saturationMeter.reset();
        c.truePeakDetector.clear();
        c.quantizer.clear();
        c.holdCount = 0;
        c.holdMax = 0.0f;
        c.envelope = 0.0f;
        std::fill(std::begin(c.smoother), std::end(c.smoother), 0.0f);
        std::fill(std::begin(c.delay), std::end(c.delay), 0.0f);
        std::fill(std::begin(c.detection), std::end(c.detection), 0.0f);
    }
}

void CLimiter::process(const float* const* in, float* const* out, int frames)
{
    if (frames <= 0 || channels <= 0)
        return;
    DenormalGuard denormalGuard;

    // Settings changed by another thread reach the per-channel blocks here,
    // on the audio thread, never while they run.
    if (updatePending.load(relaxed))
        configureChannels();
    const float shapingAmount = shaping.load(relaxed);
    for (int ch = 0; ch < channels; ++ch)
        channel[ch].quantizer.setShaping(shapingAmount);

    block.inputGain = inputGain.load(relaxed);
    block.clipLevel = clipLevel.load(relaxed);
    block.saturation = saturation.load(relaxed);
    const bool monitoring = monitor.load(relaxed);
    const float preGain = monitoring ? 1.0f : block.inputGain;
    const float detGain = monitoring ? block.inputGain : 1.0f;
    const bool detectTruePeak = truePeak.load(relaxed);
    const float ceil = ceiling.load(relaxed);
    const float linkAmount = link.load(relaxed);
    const int L = lookaheadSamples.load(relaxed);
    const float attack = attackCoef.load(relaxed);
    const float release = releaseCoef.load(relaxed);
    const float smooth = smoothCoef.load(relaxed);
    const float clip = block.clipLevel;

    // Spectral saturation: the input, 1024 samples later, lands in out.
    CFFTProcessor::process(in, out, frames);

    uint32_t seed = noiseSeed.load(relaxed);
    int w = writeIndex;
    for (int i = 0; i < frames; ++i)
    {
        for (int ch = 0; ch < channels; ++ch)
        {
            Channel& c = channel[ch];
            float x = out[ch][i] * preGain;
            if (std::fabs(x) < noiseLevel)
            {
                seed = seed * 214013u + 2531011u;
                x = (seed & (1u << 17)) ? noiseLevel : -noiseLevel;
            }
            c.inputFilter.process(&x);
            c.delay[w] = x;

            float d;
            int r;
            if (detectTruePeak)
            {
                r = (w + L + c.truePeakDetector.getLatency() + 1) & delayMask;
                const float detected = c.delay[r] * detGain;
                c.truePeakDetector.process(&detected);
                d = c.truePeakDetector.readPeak();
            }
            else
            {
                r = (w + L + 1) & delayMask;
                d = std::fabs(c.delay[r] * detGain);
            }
            d = std::max(d, ceil);
            c.detection[r] = d;

            // Sliding maximum over the last L+1 detections. When the held
            // maximum expires, the window is rescanned; equal values let the
            // later one win so the hold lasts as long as possible.
            if (d >= c.holdMax)
            {
                c.holdMax = d;
                c.holdCount = L;
            }
            else if (--c.holdCount < 0)
            {
                c.holdMax = ceil;
                c.holdCount = L;
                for (int j = 0; j <= L; ++j)
                {
                    const float candidate = c.detection[(w + j + 1) & delayMask];
                    if (candidate >= c.holdMax)
                    {
                        c.holdMax = candidate;
                        c.holdCount = j;
                    }
                }
            }

            const float e = c.holdMax;
            if (e >= c.envelope)
                c.envelope = e + (c.envelope - e) * attack;
            else
                c.envelope = e + (c.envelope - e) * release;
        }

        w = (w + 1) & delayMask;
        float maxAll = channel[0].holdMax;
        float envAll = channel[0].envelope;
        for (int ch = 1; ch < channels; ++ch)
        {
            maxAll = std::max(maxAll, channel[ch].holdMax);
            envAll = std::max(envAll, channel[ch].envelope);
        }

        for (int ch = 0; ch < channels; ++ch)
        {
            Channel& c = channel[ch];
            // The two halves of the link range mix different quantities:
            // up to 0.5 the other channels' envelope, above it their raw hold.
            float v;
            if (linkAmount <= 0.5f)
                v = std::max(std::max(c.envelope, 2.0f * linkAmount * envAll), c.holdMax);
            else
                v = std::max(std::max(c.holdMax, 2.0f * (linkAmount - 0.5f) * maxAll), envAll);

            c.smoother[0] = v + (c.smoother[0] - v) * smooth;
            c.smoother[1] = c.smoother[0] + (c.smoother[1] - c.smoother[0]) * smooth;
            c.smoother[2] = c.smoother[1] + (c.smoother[2] - c.smoother[1]) * smooth;
            c.smoother[3] = c.smoother[2] + (c.smoother[3] - c.smoother[2]) * smooth;

            const float s3 = c.smoother[3];
            float g = s3 > ceil ? ceil / s3 : 1.0f;
            float y = g * c.delay[w];
            c.quantizer.process(&y);
            y = std::min(std::max(y, -clip), clip);
            out[ch][i] = y;

            c.gainMeter.process(&g, 1);
            c.peakMeter.process(&y, 1);
            float power = y * y;
            c.rmsSmoother.process(&power);
            c.rmsMeter.process(&power, 1);
        }
    }
    writeIndex = w;
    noiseSeed.store(seed, relaxed);
}

void CLimiter::processFrame()
{
    const float gain = block.inputGain;
    const float clip = block.clipLevel;
    const float amount = block.saturation;
    for (int ch = 0; ch < channels; ++ch)
    {
        Channel& c = channel[ch];
        float* input = inFrame[size_t(ch)].data();
        float* output = outFrame[size_t(ch)].data();
        float* spectrum = inSpectrum[size_t(ch)].data();
        float* power = c.inputBandPower.data();
        const float unity = 1.0f;

        if (amount <= 0.0f)
        {
            copyFrame(input, output);
            c.saturationMeter.process(&unity, 1);
            continue;
        }

        float peak = 0.0f;
        for (int j = 0; j < frameLength; ++j)
            peak = std::max(peak, std::fabs(input[j]));
        const float p = gain * peak;
        if (p <= clip)
        {
            copyFrame(input, output);
            transform(input, spectrum, false);
            bandPower(spectrum, spectrum, power, powerCoef);
            c.saturationMeter.process(&unity, 1);
            continue;
        }

        // The frame would clip: add the soft clipper's distortion where the
        // signal itself masks it. The residual stays at the scale of k*x.
        transform(input, spectrum, false);
        const float k = 2.0f * gain / p;
        for (int j = 0; j < frameLength; ++j)
        {
            const float kx = k * input[j];
            residualFrame[size_t(j)] = softClip(kx) - kx;
        }
        float* residual = residualSpectrum.data();
        transform(residualFrame.data(), residual, false);
        bandPower(spectrum, spectrum, power, powerCoef);
        bandPower(residual, residual, residualBandPower.data(), 0.0f);
        maskingThreshold(power, maskThreshold.data(), true, true);

        float* modified = outSpectrum[size_t(ch)].data();
        float inSum = 0.0f;
        float resSum = 0.0f;
        int bin = 0;
        for (int b = 0; b < bandCount; ++b)
        {
            const float resPower = residualBandPower[size_t(b)];
            float wb = amount * 4.0f * std::sqrt(maskThreshold[size_t(b)] / (resPower + 0.01f));
            wb = std::min(wb, p - clip);
            wb = std::max(wb, 0.0f);
            wb = std::min(wb, 1.0f);
            for (int end = bin + binsPerBand[size_t(b)]; bin < end; ++bin)
            {
                modified[2 * bin] = spectrum[2 * bin] + wb * residual[2 * bin];
                modified[2 * bin + 1] = spectrum[2 * bin + 1] + wb * residual[2 * bin + 1];
            }
            inSum += power[b];
            resSum += wb * wb * resPower;
        }
        transform(output, modified, true);

        const float inLevel = std::sqrt(inSum);
        const float saturationGain = std::max((inLevel - std::sqrt(resSum)) / (inLevel + 1e-8f), 0.5f);
        c.saturationMeter.process(&saturationGain, 1);
    }
}

void CLimiter::setInputGain(float dB)
{
    inputGain.store(dBToGain(dB), relaxed);
}

void CLimiter::setAttack(float seconds)
{
    const float t = std::max(seconds, minTime);
    if (t == attackTime.load(relaxed))
        return;
    attackTime.store(t, relaxed);
    attackCoef.store(timeToCoef(t, fs), relaxed);
}

void CLimiter::setRelease(float seconds)
{
    const float t = std::max(seconds, minTime);
    if (t == releaseTime.load(relaxed))
        return;
    releaseTime.store(t, relaxed);
    releaseCoef.store(timeToCoef(t, fs), relaxed);
}

void CLimiter::setLookahead(float seconds)
{
    if (seconds == lookaheadTime.load(relaxed))
        return;
    lookaheadTime.store(seconds, relaxed);
    updateLookahead(seconds);
}

void CLimiter::setTruePeak(bool on)
{
    truePeak.store(on, relaxed);
}

void CLimiter::setMonitor(bool on)
{
    monitor.store(on, relaxed);
}

void CLimiter::setCeiling(float dB)
{
    const float c = dBToGain(dB);
    if (c == ceiling.load(relaxed))
        return;
    ceiling.store(c, relaxed);
    updateCoefficients();
    updatePending.store(true, relaxed);
}

void CLimiter::setLink(float amount)
{
    link.store(amount, relaxed);
}

void CLimiter::setAES17(bool on)
{
    aes17.store(on, relaxed);
}

void CLimiter::setSaturation(float amount)
{
    saturation.store(amount, relaxed);
}

void CLimiter::setNumBits(int8_t bits)
{
    if (bits == numBits.load(relaxed))
        return;
    numBits.store(bits, relaxed);
    updateCoefficients();
    updatePending.store(true, relaxed);
}

void CLimiter::setShaping(float amount)
{
    shaping.store(amount, relaxed);
}

float CLimiter::getRmsLevel(int ch)
{
    if (ch < 0 || ch >= channels)
        return 0.0f;
    const float meanSquare = channel[ch].rmsMeter.getValue();
    // AES17: a full-scale sine reads 0 dB, i.e. +3.01 dB on the mean square.
    return aes17.load(relaxed) ? meanSquare * 2.0f : meanSquare;
}

float CLimiter::getOutputPeak(int ch)
{
    if (ch < 0 || ch >= channels)
        return 0.0f;
    return channel[ch].peakMeter.getValue();
}

float CLimiter::getGainReduction(int ch)
{
    if (ch < 0 || ch >= channels)
        return 1.0f;
    return channel[ch].gainMeter.getValue();
}

float CLimiter::getSaturationGain(int ch)
{
    if (ch < 0 || ch >= channels)
        return 1.0f;
    return channel[ch].saturationMeter.getValue();
}

int CLimiter::getLatency() const
{
    return delayMask + frameLength;
}
