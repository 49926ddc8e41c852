#include "limiter/CLimiter.h"

#include "blocks/CExactMath.h"
#include "limiter/CFrameSaturation.h"
#include "limiter/CGainSmoother.h"
#include "limiter/CInputStage.h"
#include "limiter/CLimiterMeters.h"
#include "limiter/COutputStage.h"
#include "limiter/CPeakDetection.h"
#include "limiter/CSlidingMaximum.h"
#include "processor/DenormalGuard.h"

#include <algorithm>
#include <cmath>

using namespace LimiterLanes;

namespace
{
constexpr int fftSize = 1024;
constexpr int frameSize = 1024;
constexpr int hopSize = 512;
constexpr int sineOfSineSquaredWindow = 0;

constexpr float minTime = 1e-8f;

constexpr auto relaxed = std::memory_order_relaxed;

float dBToGain(float dB)
{
    return CExactMath::exp10(dB * 0.05f);
}

float timeToCoef(float seconds, float fs)
{
    return CExactMath::exp(-1.0f / (fs * seconds));
}

// Stores value; true when it differs from the value stored before (a NaN
// always does), so that a setter recomputes only what a change needs.
template <typename T>
bool changed(std::atomic<T>& setting, T value)
{
    if (value == setting.load(relaxed))
        return false;
    setting.store(value, relaxed);
    return true;
}

// An envelope time, at least minTime, and its coefficient at the rate fs.
void storeTime(std::atomic<float>& time, std::atomic<float>& coef, float seconds, float fs)
{
    const float t = std::max(seconds, minTime);
    if (changed(time, t))
        coef.store(timeToCoef(t, fs), relaxed);
}
}

CLimiter::CLimiter(int channelCount)
    : CPsychoProcessor(channelCount, channelCount, fftSize, frameSize, hopSize, sineOfSineSquaredWindow),
      channels(std::max(channelCount, 0)),
      pairs(pairCount(channels)),
      input(new CInputStage(channels)),
      detection(new CPeakDetection(channels)),
      hold(new CSlidingMaximum[size_t(pairs)]),
      smoothing(new CGainSmoother(channels)),
      output(new COutputStage(channels)),
      meters(new CLimiterMeters(channels)),
      saturationStage(new CFrameSaturation(channels, frameSize, fftSize)),
      chunk(new Chunk[size_t(pairs)]),
      block(new BlockSettings),
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
      writeIndex(0)
{
    for (int p = 0; p < pairs; ++p)
    {
        chunk[p].first = p * pairWidth;
        chunk[p].count = std::min(pairWidth, channels - chunk[p].first);
    }
    CLimiter::update();
    CLimiter::clear();
}

CLimiter::~CLimiter() = default;

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
        // ldexp stays defined for any word length a caller passes.
        const float steps = std::ldexp(1.0f, bits - 1);
        level = std::floor(level * steps) / steps;
    }
    clipLevel.store(level, relaxed);
}

void CLimiter::updateLookahead(float seconds)
{
    // Capped before the conversion so that no time overflows the integer;
    // for every time that fits, the same as capping after it.
    int samples = int(std::min(fs * seconds + 0.5f, float(delayMask - 4)));
    samples = std::max(samples, 4);
    lookaheadSamples.store(samples, relaxed);
    smoothCoef.store(CExactMath::exp(-10.0f / float(samples)), relaxed);
}

void CLimiter::moveClipLevel()
{
    updateCoefficients();
    updatePending.store(true, relaxed);
}

void CLimiter::configureChannels()
{
    updatePending.store(false, relaxed);
    input->update(fs);
    meters->update(fs, hopSize);
    detection->update(fs);
    output->update(fs, numBits.load(relaxed));
}

void CLimiter::clear()
{
    writeIndex = 0;
    CPsychoProcessor::clear();
    saturationStage->clear();
    input->clear();
    meters->clear();
    detection->clear();
    output->clear();
    smoothing->clear();
    for (int p = 0; p < pairs; ++p)
        hold[p].clear();
}

void CLimiter::readSettings()
{
    BlockSettings& s = *block;
    s.inputGain = inputGain.load(relaxed);
    s.clipLevel = clipLevel.load(relaxed);
    s.saturation = saturation.load(relaxed);
    const bool monitoring = monitor.load(relaxed);
    s.preGain = monitoring ? 1.0f : s.inputGain;
    s.detectionGain = monitoring ? s.inputGain : 1.0f;
    s.truePeak = truePeak.load(relaxed);
    s.ceiling = ceiling.load(relaxed);
    s.link = link.load(relaxed);
    s.lookahead = lookaheadSamples.load(relaxed);
    s.attackCoef = attackCoef.load(relaxed);
    s.releaseCoef = releaseCoef.load(relaxed);
    s.smoothCoef = smoothCoef.load(relaxed);
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
    output->setShaping(shaping.load(relaxed));
    readSettings();

    // Spectral saturation: the input, 1024 samples later, lands in out.
    CFFTProcessor::process(in, out, frames);
    for (int done = 0; done < frames; done += chunkLength)
        processChunk(out, done, std::min(frames - done, chunkLength));
}

void CLimiter::processChunk(float* const* out, int offset, int count)
{
    const BlockSettings& s = *block;
    input->process(out, offset, count, s.preGain, chunk.get());
    const int lead = detection->lead(s.truePeak);
    for (int p = 0; p < pairs; ++p)
    {
        Chunk& c = chunk[p];
        input->filterAhead(c, count, writeIndex, s.lookahead + lead + 1);
        detection->process(c, input->delayLine(c), count, writeIndex, s);
        // A pair alone takes its hold rule in the smoothing's steps.
        if (pairs == 1)
            hold[p].findRescans(c.held, count, writeIndex, s.lookahead, lead, s.ceiling);
        else
        {
            hold[p].process(c.held, c.held, count, writeIndex, s.lookahead, lead, s.ceiling);
            smoothing->followEnvelopes(c, count, s);
        }
    }
    output->drawDither(chunk.get(), count);
    for (int p = 0; p < pairs; ++p)
    {
        Chunk& c = chunk[p];
        smoothing->process(c, count, writeIndex, s, {hold[p], *input, *output, *meters});
        meters->process(c, count);
        output->store(c, out, offset, count);
    }
    writeIndex = (writeIndex + count) & delayMask;
}

void CLimiter::processFrame()
{
    const BlockSettings& s = *block;
    for (int ch = 0; ch < channels; ++ch)
    {
        const CFrameSaturation::Frame frame{inFrame[size_t(ch)].data(), outFrame[size_t(ch)].data(),
                                            inSpectrum[size_t(ch)].data(), outSpectrum[size_t(ch)].data()};
        meters->addSaturationGain(ch, saturationStage->process(*this, ch, frame, binsPerBand.data(), bandCount,
                                                               powerCoef, s.inputGain, s.clipLevel, s.saturation));
    }
}

void CLimiter::setInputGain(float dB)
{
    inputGain.store(dBToGain(dB), relaxed);
}

void CLimiter::setAttack(float seconds)
{
    storeTime(attackTime, attackCoef, seconds, fs);
}

void CLimiter::setRelease(float seconds)
{
    storeTime(releaseTime, releaseCoef, seconds, fs);
}

void CLimiter::setLookahead(float seconds)
{
    if (changed(lookaheadTime, seconds))
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
    if (changed(ceiling, dBToGain(dB)))
        moveClipLevel();
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
    if (changed(numBits, bits))
        moveClipLevel();
}

void CLimiter::setShaping(float amount)
{
    shaping.store(amount, relaxed);
}

float CLimiter::getRmsLevel(int ch)
{
    return meters->getRmsLevel(ch, aes17.load(relaxed));
}

float CLimiter::getOutputPeak(int ch)
{
    return meters->getOutputPeak(ch);
}

float CLimiter::getGainReduction(int ch)
{
    return meters->getGainReduction(ch);
}

float CLimiter::getSaturationGain(int ch)
{
    return meters->getSaturationGain(ch);
}

int CLimiter::getLatency() const
{
    return delayMask + frameLength;
}
