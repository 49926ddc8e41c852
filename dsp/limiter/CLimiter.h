#pragma once

#include "blocks/C1HPF.h"
#include "blocks/C1LPF.h"
#include "blocks/CQuantizer.h"
#include "blocks/CVu.h"
#include "limiter/CISPDetector.h"
#include "limiter/CSlidingMaximum.h"
#include "processor/CPsychoProcessor.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

// Look-ahead brick-wall limiter for N channels: input gain, spectral
// saturation on FFT frames, sample- or true-peak detection read ahead of a
// delay line, sliding maximum with attack/release and stereo link, four
// smoothing sections, word-length reduction, a clip at the ceiling, meters.
//
// The per-sample work runs in stages over chunks of up to 512 samples, with
// channel pairs side by side in the lanes of SSE2 registers and each
// stage's running state in registers; what couples the channels (the link,
// and the noise and dither generators they share, drawn frame by frame in
// channel order) runs across them. Every sample gets the same operations in
// the same order as in a loop over samples and channels, so the output is
// the same bits.
//
// Settings may be written from any thread while process() runs: they are
// relaxed atomics, read once per block. Changes that need the per-channel
// blocks reconfigured are applied by the audio thread at the start of the
// next block, so process() never races with a setter.
class CLimiter : public CPsychoProcessor
{
public:
    explicit CLimiter(int channels);

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
    static constexpr int delayLength = 512;
    static constexpr int delayMask = delayLength - 1;
    // Samples per pass of the per-sample stages.
    static constexpr int chunkLength = 512;

    struct Channel
    {
        Channel() : truePeakDetector(44100.0f) {}
        C1HPF inputFilter;
        C1LPF rmsSmoother;
        CVu rmsMeter;
        CVu peakMeter;
        CVu gainMeter;
        CVu saturationMeter;
        CISPDetector truePeakDetector;
        CQuantizer quantizer;
        float envelope;
        float smoother[4];
        std::vector<float> inputBandPower;
    };

    // A pair of channels processed side by side in lanes 0-1 of SSE2
    // registers; where the work allows, lanes 2-3 take a second sample,
    // segment or smoothing section of the same pair. More channels take
    // more pairs, coupled by the link.
    struct ChannelGroup
    {
        static constexpr int lanes = 2;
        using LaneFrame = float[ChannelLanes::width];

        int first = 0;
        int count = 0;
        // Samples of the chunk in process whose input filter ran before the
        // detection; the rest run with the gain.
        int filteredFirst = 0;
        // The group's channels and their blocks, as the Lanes classes take them.
        Channel* channel[lanes] = {};
        C1LPF* inputFilter[lanes] = {};
        C1LPF* rmsSmoother[lanes] = {};
        CVu* rmsMeter[lanes] = {};
        CVu* peakMeter[lanes] = {};
        CVu* gainMeter[lanes] = {};
        CISPDetector* truePeakDetector[lanes] = {};
        CQuantizer* quantizer[lanes] = {};

        // The audio delay lines, and the detection buffers with the held
        // maxima.
        alignas(16) LaneFrame delay[delayLength] = {};
        CSlidingMaximum peakHold;
        // The chunk in process, as one stage hands it to the next.
        alignas(16) LaneFrame input[chunkLength] = {};   // gained input with the noise floor
        alignas(16) LaneFrame delayed[chunkLength] = {}; // the delay line's output tap
        alignas(16) LaneFrame held[chunkLength] = {};    // sliding maximum
        alignas(16) LaneFrame envelope[chunkLength] = {};
        alignas(16) LaneFrame dither[chunkLength] = {};  // the quantizers' dither draws
        alignas(16) LaneFrame gain[chunkLength] = {};
        alignas(16) LaneFrame output[chunkLength] = {};
        alignas(16) LaneFrame meanSquare[chunkLength] = {}; // the RMS meter's input
    };

    // Scalar coefficients (any thread) and per-channel blocks (audio thread
    // or while not processing).
    void updateCoefficients();
    void updateLookahead(float seconds);
    void configureChannels();

    // The per-sample stages of one chunk of out, in place.
    void processChunk(float* const* out, int offset, int count, uint32_t& noise);
    // Input filter, delay line, detection, sliding maximum and envelope.
    void detectPeaks(ChannelGroup& group, int count);
    // Link, smoothing, gain, quantizer, clip and meters into out.
    void applyGain(ChannelGroup& group, float* const* out, int offset, int count);
    // Its per-sample loop, for what is fixed for the block.
    template <int channelsAlone, bool lowerHalf, bool quantizing>
    void smoothAndApplyGain(ChannelGroup& group, int count);

    // Settings as read at the start of the current block.
    struct BlockSettings
    {
        float inputGain = 1.0f;
        float clipLevel = 1.0f;
        float saturation = 0.0f;
        float preGain = 1.0f;
        float detectionGain = 1.0f;
        bool truePeak = false;
        float ceiling = 1.0f;
        float link = 0.0f;
        int lookahead = 4;
        float attackCoef = 0.0f;
        float releaseCoef = 0.0f;
        float smoothCoef = 0.0f;
    };

    const int channels;
    std::unique_ptr<Channel[]> channel;
    const int groupCount;
    std::unique_ptr<ChannelGroup[]> group;

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
    BlockSettings block;

    std::vector<float> residualFrame;
    std::vector<float> residualSpectrum;
    std::vector<float> maskThreshold;
    std::vector<float> residualBandPower;
    // Per sample of the chunk: the largest held maximum and envelope over
    // the channels.
    std::vector<float> linkedHold;
    std::vector<float> linkedEnvelope;
    // The chunk's dither draws, frame by frame, for the channels whose
    // quantizer is active, in channel order.
    std::vector<int> quantizingChannel;
    std::vector<float> ditherDraws;
};
