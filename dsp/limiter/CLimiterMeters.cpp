#include "limiter/CLimiterMeters.h"

#include "blocks/CVuLanes.h"

using namespace LimiterLanes;

namespace
{
constexpr float rmsTimeConstant = 0.065144174f;
}

CLimiterMeters::CLimiterMeters(int channels)
    : rmsSmoother(channels), rmsMeter(channels), peakMeter(channels), gainMeter(channels), saturationMeter(channels)
{
}

void CLimiterMeters::update(float fs, int hop)
{
    for (int ch = 0; ch < rmsMeter.size(); ++ch)
    {
        peakMeter[ch].setTime(1.0f, fs, 1);
        rmsSmoother[ch].setTimeConstant(rmsTimeConstant, fs);
        rmsMeter[ch].setTime(0.5f, fs, 1);
        gainMeter[ch].setTime(0.5f, fs, 1);
        gainMeter[ch].setInverted(true);
        gainMeter[ch].setUpperLimit(1.0f);
        saturationMeter[ch].setInverted(true);
        saturationMeter[ch].setUpperLimit(1.0f);
        saturationMeter[ch].setTime(0.5f, fs, hop);
    }
}

void CLimiterMeters::clear()
{
    for (int ch = 0; ch < rmsMeter.size(); ++ch)
    {
        rmsSmoother[ch].clear();
        rmsMeter[ch].reset();
        peakMeter[ch].reset();
        gainMeter[ch].reset();
        saturationMeter[ch].reset();
    }
}

void CLimiterMeters::process(const Chunk& chunk, int count)
{
    const int pair = chunk.first / pairWidth;
    CVu::Lanes gain(gainMeter.pair(pair), chunk.count);
    CVu::Lanes peak(peakMeter.pair(pair), chunk.count);
    CVu::Lanes rms(rmsMeter.pair(pair), chunk.count);
    gain.addBlock(chunk.gain, count);
    peak.addBlock(chunk.output, count);
    rms.addBlock(chunk.meanSquare, count);
    gain.finish();
    peak.finish();
    rms.finish();
}

void CLimiterMeters::addSaturationGain(int channel, float gain)
{
    saturationMeter[channel].process(&gain, 1);
}

float CLimiterMeters::getRmsLevel(int channel, bool aes17)
{
    if (!valid(channel))
        return 0.0f;
    const float meanSquare = rmsMeter[channel].getValue();
    // AES17: a full-scale sine reads 0 dB, i.e. +3.01 dB on the mean square.
    return aes17 ? meanSquare * 2.0f : meanSquare;
}

float CLimiterMeters::getOutputPeak(int channel)
{
    return valid(channel) ? peakMeter[channel].getValue() : 0.0f;
}

float CLimiterMeters::getGainReduction(int channel)
{
    return valid(channel) ? gainMeter[channel].getValue() : 1.0f;
}

float CLimiterMeters::getSaturationGain(int channel)
{
    return valid(channel) ? saturationMeter[channel].getValue() : 1.0f;
}
