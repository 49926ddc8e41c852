#pragma once

#include "processor/CPsychoProcessor.h"

#include <atomic>
#include <cstdint>
#include <memory>

class CInputStage;
class CPeakDetection;
class CSlidingMaximum;
class CGainSmoother;
class COutputStage;
class CLimiterMeters;
class CFrameSaturation;
namespace LimiterLanes
{
struct Chunk;
struct BlockSettings;
}

// Look-ahead brick-wall limiter for N channels: input gain, spectral
// saturation on FFT frames, sample- or true-peak detection read ahead of a
// delay line, sliding maximum with attack/release and stereo link, four
// smoothing sections, word-length reduction, a clip at the ceiling, meters.
//
// The stages run over chunks of up to 512 samples, channel pairs side by
// side; what couples the channels (the link, and the noise and dither
// generators they share, drawn frame by frame in channel order) runs across
// the pairs. Every sample gets the same operations in the same order as in
// a loop over samples and channels, so the output is the same bits.
//
// Settings may be written from any thread while process() runs: they are
// relaxed atomics, read once per block. Changes that need the per-channel
// blocks reconfigured are applied by the audio thread at the start of the
// next block, so process() never races with a setter.
class CLimiter : public CPsychoProcessor
{
public:
    explicit CLimiter(int channels);
    ~CLimiter() override;

    void process(const float* const* in, float* const* out, int frames) override;
    void clear() override;
    void update() override;
    void processFrame() override;

    virtual void setInputGain(float dB);
    virtual void setAttack(float seconds);
    virtual void setRelease(float seconds);
    virtual void setLookahead(float seconds);
    virtual void setTruePeak(bool on);
    virtual void setMonitor(bool on);
    virtual void setCeiling(float dB);
    virtual void setLink(float amount);
    virtual void setAES17(bool on);
    virtual void setSaturation(float amount);
    virtual void setNumBits(int8_t bits);
    virtual void setShaping(float amount);
    // Meter readings; a channel outside the channel count reads neutral
    // (0 for levels, 1.0 for gains). Reading starts the meter's release.
    virtual float getRmsLevel(int channel);
    virtual float getOutputPeak(int channel);
    virtual float getGainReduction(int channel);
    virtual float getSaturationGain(int channel);
    // Delay line plus FFT frame: constant whatever the look-ahead and rate.
    virtual int getLatency() const;

    int getChannelCount() const { return channels; }
    int getLookaheadSamples() const { return lookaheadSamples.load(std::memory_order_relaxed); }
    float getClipLevel() const { return clipLevel.load(std::memory_order_relaxed); }

private:
    // Scalar coefficients (any thread) and per-channel blocks (audio thread
    // or while not processing).
    void updateCoefficients();
    void updateLookahead(float seconds);
    // After a change of the ceiling or the word length: the clip level now,
    // the per-channel blocks at the start of the next block.
    void moveClipLevel();
    void configureChannels();
    void readSettings();

    // The stages over one chunk of out, in place.
    void processChunk(float* const* out, int offset, int count);

    const int channels;
    const int pairs;
    std::unique_ptr<CInputStage> input;
    std::unique_ptr<CPeakDetection> detection;
    std::unique_ptr<CSlidingMaximum[]> hold;
    std::unique_ptr<CGainSmoother> smoothing;
    std::unique_ptr<COutputStage> output;
    std::unique_ptr<CLimiterMeters> meters;
    std::unique_ptr<CFrameSaturation> saturationStage;
    std::unique_ptr<LimiterLanes::Chunk[]> chunk;
    std::unique_ptr<LimiterLanes::BlockSettings> block;

    std::atomic<float> inputGain;
    std::atomic<float> ceiling;
    std::atomic<float> link;
    std::atomic<bool> truePeak;
    std::atomic<bool> aes17;
    std::atomic<bool> monitor;
    std::atomic<float> lookaheadTime;
    std::atomic<float> attackTime;
    std::atomic<float> releaseTime;
    std::atomic<float> saturation;
    std::atomic<int8_t> numBits;
    std::atomic<float> shaping;

    std::atomic<int> lookaheadSamples;
    std::atomic<float> attackCoef;
    std::atomic<float> releaseCoef;
    std::atomic<float> smoothCoef;
    std::atomic<float> clipLevel;
    std::atomic<bool> updatePending;

    int writeIndex;
};
