#pragma once

#include "blocks/C1LPF.h"
#include "blocks/CVu.h"
#include "limiter/LaneChunk.h"

// The limiter's meters per channel: the gain, the output peak, the mean
// square of the output (through a 2.44 Hz smoother) and, once per FFT frame,
// the saturation gain.
class CLimiterMeters
{
public:
    explicit CLimiterMeters(int channels);

    // hop: samples between two saturation readings.
    void update(float sampleRate, int hop);
    void clear();

    // The chunk's gain, output and mean square into the meters.
    void process(const LimiterLanes::Chunk& chunk, int count);
    void addSaturationGain(int channel, float gain);

    // A channel outside the channel count reads neutral (0 for levels, 1.0
    // for gains). Reading starts the meter's release.
    float getRmsLevel(int channel, bool aes17);
    float getOutputPeak(int channel);
    float getGainReduction(int channel);
    float getSaturationGain(int channel);

    // The mean-square smoother of one pair, sample by sample
    // (CLimiterMetersLanes.h).
    class Lanes;

private:
    bool valid(int channel) const { return channel >= 0 && channel < rmsMeter.size(); }

    LimiterLanes::PairedBlocks<C1LPF> rmsSmoother;
    LimiterLanes::PairedBlocks<CVu> rmsMeter;
    LimiterLanes::PairedBlocks<CVu> peakMeter;
    LimiterLanes::PairedBlocks<CVu> gainMeter;
    LimiterLanes::PairedBlocks<CVu> saturationMeter;
};
