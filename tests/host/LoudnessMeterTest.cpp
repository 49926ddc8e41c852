#include "LoudnessMeter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace
{
constexpr double twoPi = 6.283185307179586;

// A 997 Hz sine, as BS.1770 calibrates with, of different amplitudes per
// channel, fed in blocks of 1000 frames.
LoudnessFigures measureSines(double leftAmplitude, double rightAmplitude, int sampleRate, double seconds)
{
    LoudnessMeter meter(2, sampleRate);
    const size_t frames = static_cast<size_t>(seconds * sampleRate);
    std::vector<float> block;
    for (size_t frame = 0; frame < frames; ++frame)
    {
        const double sine = std::sin(twoPi * 997.0 * static_cast<double>(frame) / sampleRate);
        block.push_back(static_cast<float>(leftAmplitude * sine));
        block.push_back(static_cast<float>(rightAmplitude * sine));
        if (block.size() == 2000 || frame + 1 == frames)
        {
            meter.addFrames(block.data(), block.size() / 2);
            block.clear();
        }
    }
    return meter.getFigures();
}
}

// BS.1770: a 997 Hz sine at full scale in one channel reads -3.01 LUFS, so
// amplitudes a and b in the two channels read 10 log10((a^2 + b^2) / 2); the
// K-weighting is not exactly 0 dB at 997 Hz: 0.05 LU covers it. A steady tone
// has no loudness range. Samples of the sine at 48 kHz come within
// cos(pi * 997 / 48000) of the crest, -0.02 dB; the true peak is the crest
// itself, within the meter's interpolation error of a few hundredths of a dB.
TEST(LoudnessMeter, CalibrationSinesAndSilence)
{
    EXPECT_NEAR(measureSines(1.0, 1.0, 44100, 5.0).integratedLufs, 0.0, 0.05);
    const LoudnessFigures uneven = measureSines(0.5, 0.25, 48000, 5.0);
    EXPECT_NEAR(uneven.integratedLufs, 10.0 * std::log10((0.25 + 0.0625) / 2.0), 0.05);
    EXPECT_NEAR(uneven.loudnessRangeLu, 0.0, 0.1);
    ASSERT_EQ(uneven.samplePeakDbfs.size(), 2u);
    ASSERT_EQ(uneven.truePeakDbtp.size(), 2u);
    for (size_t channel = 0; channel < 2; ++channel)
    {
        const double crest = 20.0 * std::log10(channel == 0 ? 0.5 : 0.25);
        EXPECT_NEAR(uneven.samplePeakDbfs[channel], crest, 0.02);
        EXPECT_NEAR(uneven.truePeakDbtp[channel], crest, 0.05);
    }
    const LoudnessFigures silence = measureSines(0.0, 0.0, 48000, 1.0);
    EXPECT_EQ(silence.integratedLufs, -HUGE_VAL);
    EXPECT_EQ(silence.samplePeakDbfs[0], -HUGE_VAL);
    EXPECT_EQ(silence.truePeakDbtp[1], -HUGE_VAL);
}
