#pragma once

#include "blocks/C1HPF.h"
#include "blocks/CExactMath.h"
#include "blocks/C1LPF.h"
#include "blocks/CQuantizer.h"
#include "blocks/CVu.h"
#include "blocks/RandomGenerator.h"
#include "limiter/CISPDetector.h"
#include "processor/CPsychoProcessor.h"
#include "processor/DenormalGuard.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

// The limiter written as a plain loop over samples and channels, one step
// after the other in signal-path order, with the per-channel blocks called
// one sample at a time: what CLimiter computes, without the chunks, lanes
// and pipelining that make it fast. CLimiter must give the same bits.
class ReferenceLimiter : public CPsychoProcessor
{
public:
    explicit ReferenceLimiter(int channels)
        : CPsychoProcessor(channels, channels, 1024, 1024, 512, 0), channels(channels), channel(size_t(channels)),
          residualFrame(1024), residualSpectrum(1024), maskThreshold(512), residualBandPower(512)
    {
        ReferenceLimiter::update();
        ReferenceLimiter::clear();
    }

    void setInputGain(float dB) { inputGain = dBToGain(dB); }
    void setAttack(float s) { attackTime = std::max(s, 1e-8f); attackCoef = timeToCoef(attackTime); }
    void setRelease(float s) { releaseTime = std::max(s, 1e-8f); releaseCoef = timeToCoef(releaseTime); }
    void setLookahead(float s) { lookaheadTime = s; updateLookahead(); }
    void setTruePeak(bool on) { truePeak = on; }
    void setMonitor(bool on) { monitor = on; }
    // The ceiling and the word length reach the per-channel blocks, and the
    // shaping the quantizers, at the start of the next block: setters on
    // another thread never touch them while a block runs.
    void setCeiling(float dB) { reconfigureOnChange(ceiling, dBToGain(dB)); }
    void setLink(float amount) { link = amount; }
    void setAES17(bool on) { aes17 = on; }
    void setSaturation(float amount) { saturation = amount; }
    void setNumBits(int8_t bits) { reconfigureOnChange(numBits, bits); }
    void setShaping(float amount) { shaping = amount; }

    float getRmsLevel(int ch) { return channel[size_t(ch)].rmsMeter.getValue() * (aes17 ? 2.0f : 1.0f); }
    float getOutputPeak(int ch) { return channel[size_t(ch)].peakMeter.getValue(); }
    float getGainReduction(int ch) { return channel[size_t(ch)].gainMeter.getValue(); }
    float getSaturationGain(int ch) { return channel[size_t(ch)].saturationMeter.getValue(); }

    void update() override
    {
        CPsychoProcessor::update();
        updateLookahead();
        attackCoef = timeToCoef(attackTime);
        releaseCoef = timeToCoef(releaseTime);
        updateClipLevel();
        configureChannels();
    }

    void configureChannels()
    {
        reconfigure = false;
        for (Channel& c : channel)
        {
            c.inputFilter.setNormFreq(1.0f / fs);
            c.peakMeter.setTime(1.0f, fs, 1);
            c.rmsSmoother.setTimeConstant(0.065144174f, fs);
            c.rmsMeter.setTime(0.5f, fs, 1);
            c.gainMeter.setTime(0.5f, fs, 1);
            c.gainMeter.setInverted(true);
            c.gainMeter.setUpperLimit(1.0f);
            c.saturationMeter.setInverted(true);
            c.saturationMeter.setUpperLimit(1.0f);
            c.saturationMeter.setTime(0.5f, fs, 512);
            c.detector.setSampleRate(fs);
            c.quantizer.setRate(fs);
            c.quantizer.setWordLength(numBits);
        }
    }

    void clear() override
    {
        w = 0;
        CPsychoProcessor::clear();
        for (Channel& c : channel)
        {
            c.inputFilter.clear();
            c.rmsSmoother.clear();
            for (CVu* meter : {&c.rmsMeter, &c.peakMeter, &c.gainMeter, &c.saturationMeter})
                meter->reset();
            c.detector.clear();
            c.quantizer.clear();
            c.holdCount = 0;
            c.holdMax = 0.0f;
            c.envelope = 0.0f;
            std::fill(std::begin(c.smoother), std::end(c.smoother), 0.0f);
            std::fill(std::begin(c.delay), std::end(c.delay), 0.0f);
            std::fill(std::begin(c.detection), std::end(c.detection), 0.0f);
            // The band powers are smoothed from frame to frame.
            std::fill(std::begin(c.inputBandPower), std::end(c.inputBandPower), 0.0f);
        }
    }

    void process(const float* const* in, float* const* out, int frames) override
    {
        DenormalGuard flushDenormals;
        if (reconfigure)
            configureChannels();
        for (Channel& c : channel)
            c.quantizer.setShaping(shaping);
        const float preGain = monitor ? 1.0f : inputGain;
        const float detGain = monitor ? inputGain : 1.0f;
        // The saturation stage (processFrame) runs inside the block
        // framework; what it returns, a frame later, is the limiter's input.
        CFFTProcessor::process(in, out, frames);
        for (int i = 0; i < frames; ++i)
        {
            for (int ch = 0; ch < channels; ++ch)
            {
                Channel& c = channel[size_t(ch)];
                float x = out[ch][i] * preGain;
                if (std::fabs(x) < 1e-8f)
                {
                    const uint32_t seed = RandomGenerator::next(noiseSeed.load());
                    noiseSeed.store(seed);
                    x = (seed & (1u << 17)) ? 1e-8f : -1e-8f;
                }
                c.inputFilter.process(&x);
                c.delay[w] = x;

                float d;
                int r;
                if (!truePeak)
                {
                    r = (w + L + 1) & mask;
                    d = std::fabs(c.delay[r] * detGain);
                }
                else
                {
                    r = (w + L + c.detector.getLatency() + 1) & mask;
                    float ahead = c.delay[r] * detGain;
                    c.detector.process(&ahead);
                    d = c.detector.readPeak();
                }
                d = std::max(d, ceiling);
                c.detection[r] = d;

                // Sliding maximum over the last L+1 detection values.
                if (d >= c.holdMax)
                {
                    c.holdMax = d;
                    c.holdCount = L;
                }
                else if (--c.holdCount < 0)
                {
                    c.holdMax = ceiling;
                    c.holdCount = L;
                    for (int j = 0; j <= L; ++j)
                    {
                        const float candidate = c.detection[(w + j + 1) & mask];
                        if (candidate >= c.holdMax)
                        {
                            c.holdMax = candidate;
                            c.holdCount = j;
                        }
                    }
                }
                const float e = c.holdMax;
                c.envelope = e + (c.envelope - e) * (e >= c.envelope ? attackCoef : releaseCoef);
            }
            w = (w + 1) & mask;
            float maxAll = channel[0].holdMax;
            float envAll = channel[0].envelope;
            for (const Channel& c : channel)
            {
                maxAll = std::max(maxAll, c.holdMax);
                envAll = std::max(envAll, c.envelope);
            }
            for (int ch = 0; ch < channels; ++ch)
            {
                Channel& c = channel[size_t(ch)];
                const float v = link <= 0.5f ? std::max(std::max(c.envelope, 2.0f * link * envAll), c.holdMax)
                                             : std::max(std::max(c.holdMax, 2.0f * (link - 0.5f) * maxAll), envAll);
                float input = v;
                for (float& section : c.smoother)
                {
                    section = input + (section - input) * smoothCoef;
                    input = section;
                }
                const float s3 = c.smoother[3];
                float g = s3 > ceiling ? ceiling / s3 : 1.0f;
                float y = g * c.delay[w];
                c.quantizer.process(&y);
                y = std::min(std::max(y, -clipLevel), clipLevel);
                out[ch][i] = y;
                c.gainMeter.process(&g, 1);
                c.peakMeter.process(&y, 1);
                float meanSquare = y * y;
                c.rmsSmoother.process(&meanSquare);
                c.rmsMeter.process(&meanSquare, 1);
            }
        }
    }

    void processFrame() override
    {
        for (int ch = 0; ch < channels; ++ch)
        {
            float* input = inFrame[size_t(ch)].data();
            float* output = outFrame[size_t(ch)].data();
            float* spectrum = inSpectrum[size_t(ch)].data();
            float* power = channel[size_t(ch)].inputBandPower;
            float saturationGain = 1.0f;
            float p = 0.0f;
            for (int j = 0; j < frameLength; ++j)
                p = std::max(p, std::fabs(input[j]));
            p *= inputGain;
            if (saturation <= 0.0f)
            {
                copyFrame(input, output);
            }
            else if (p <= clipLevel)
            {
                copyFrame(input, output);
                transform(input, spectrum, false);
                bandPower(spectrum, spectrum, power, powerCoef);
            }
            else
            {
                saturationGain = saturateFrame(input, output, spectrum, outSpectrum[size_t(ch)].data(), power, p);
            }
            channel[size_t(ch)].saturationMeter.process(&saturationGain, 1);
        }
    }

private:
    static constexpr int mask = 511;

    struct Channel
    {
        C1HPF inputFilter;
        C1LPF rmsSmoother;
        CVu rmsMeter, peakMeter, gainMeter, saturationMeter;
        CISPDetector detector{44100.0f};
        CQuantizer quantizer;
        float holdMax = 0.0f;
        int holdCount = 0;
        float envelope = 0.0f;
        float smoother[4] = {};
        float delay[mask + 1] = {};
        float detection[mask + 1] = {};
        float inputBandPower[512] = {};
    };

    static float dBToGain(float dB) { return CExactMath::exp10(dB * 0.05f); }
    float timeToCoef(float seconds) const { return CExactMath::exp(-1.0f / (fs * seconds)); }

    template <typename T>
    void reconfigureOnChange(T& setting, T value)
    {
        if (value == setting)
            return;
        setting = value;
        updateClipLevel();
        reconfigure = true;
    }

    void updateClipLevel()
    {
        clipLevel = ceiling;
        if (numBits > 2)
        {
            const float q = float(1 << (numBits - 1));
            clipLevel = std::floor(clipLevel * q) / q;
        }
    }

    void updateLookahead()
    {
        L = std::max(std::min(int(fs * lookaheadTime + 0.5f), mask - 4), 4);
        smoothCoef = CExactMath::exp(-10.0f / float(L));
    }

    // A frame that would clip: the soft clipper's distortion added where
    // the frame masks it, band by band. Returns the saturation gain.
    float saturateFrame(float* input, float* output, float* spectrum, float* modified, float* power, float p)
    {
        transform(input, spectrum, false);
        const float k = 2.0f * inputGain / p;
        for (int j = 0; j < frameLength; ++j)
        {
            const float x = k * input[j];
            float sat = x > 0.0f ? x - 0.25f * x * x : x + 0.25f * x * x;
            if (x <= -2.0f)
                sat = -1.0f;
            if (x >= 2.0f)
                sat = 1.0f;
            residualFrame[size_t(j)] = sat - x;
        }
        float* residual = residualSpectrum.data();
        transform(residualFrame.data(), residual, false);
        bandPower(spectrum, spectrum, power, powerCoef);
        bandPower(residual, residual, residualBandPower.data(), 0.0f);
        maskingThreshold(power, maskThreshold.data(), true, true);
        float inSum = 0.0f;
        float resSum = 0.0f;
        int bin = 0;
        for (int b = 0; b < bandCount; ++b)
        {
            const float resPower = residualBandPower[size_t(b)];
            float wb = saturation * 4.0f * std::sqrt(maskThreshold[size_t(b)] / (resPower + 0.01f));
            wb = std::min(std::max(std::min(wb, p - clipLevel), 0.0f), 1.0f);
            for (int end = bin + binsPerBand[size_t(b)]; bin < end; ++bin)
                for (int part : {2 * bin, 2 * bin + 1})
                    modified[part] = spectrum[part] + wb * residual[part];
            inSum += power[b];
            resSum += wb * wb * resPower;
        }
        transform(output, modified, true);
        const float inLevel = std::sqrt(inSum);
        return std::max((inLevel - std::sqrt(resSum)) / (inLevel + 1e-8f), 0.5f);
    }

    const int channels;
    std::vector<Channel> channel;
    float inputGain = 1.0f, ceiling = 1.0f, link = 0.35f;
    bool truePeak = false, aes17 = true, monitor = false;
    float lookaheadTime = 0.002f, attackTime = 0.08f, releaseTime = 0.5f, saturation = 0.5f, shaping = 0.0f;
    bool reconfigure = false;
    int8_t numBits = -1;
    int L = 4, w = 0;
    float attackCoef = 0.0f, releaseCoef = 0.0f, smoothCoef = 0.0f, clipLevel = 1.0f;
    std::vector<float> residualFrame, residualSpectrum, maskThreshold, residualBandPower;
};
