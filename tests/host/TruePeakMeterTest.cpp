#include "TruePeakMeter.h"

#include "TestAudio.h"

#include <ebur128.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace
{
// What the meter computes, one value at a time: the largest magnitude of the
// samples and of the values interpolated between them, each a sum from the
// newest sample back, with silence before the first.
float plainTruePeak(const TestAudio& audio, int channel, int factor)
{
    float peak = 0.0f;
    for (size_t n = 0; n < audio.frames(); ++n)
    {
        peak = std::max(peak, std::fabs(audio.at(n, channel)));
        for (int phase = 1; phase < factor; ++phase)
        {
            float sum = TruePeakMeter::coefficient(factor, phase, 0) * audio.at(n, channel);
            for (int tap = 1; tap < TruePeakMeter::kernelTaps / factor && tap <= static_cast<int>(n); ++tap)
            {
                sum += TruePeakMeter::coefficient(factor, phase, tap) * audio.at(n - static_cast<size_t>(tap), channel);
            }
            peak = std::max(peak, std::fabs(sum));
        }
    }
    return peak;
}

// Noise with a burst of a tone at a quarter of the rate whose samples fall
// 45 degrees off its crests (3 dB of inter-sample peak).
TestAudio material(int channels, int sampleRate)
{
    TestAudio audio = TestAudio::noise(channels, sampleRate, 20011, 0.3f, 0);
    for (size_t n = 5000; n < 6000; ++n)
    {
        for (int channel = 0; channel < channels; ++channel)
        {
            audio.samples[n * static_cast<size_t>(channels) + static_cast<size_t>(channel)] =
                0.9f * static_cast<float>(std::sin(1.5707963267948966 * static_cast<double>(n) + 0.7853981633974483));
        }
    }
    return audio;
}
}

// Fed in blocks of awkward sizes (partial groups of four, blocks shorter than
// the kernel), the meter gives the bits of the plain computation, at 4x and
// 2x oversampling, and agrees with libebur128's true-peak meter.
TEST(TruePeakMeter, EqualsThePlainSumInAnyBlockingAndLibebur128)
{
    for (const int sampleRate : {48000, 96000})
    {
        for (const int channels : {1, 2})
        {
            SCOPED_TRACE(std::to_string(sampleRate) + " Hz, " + std::to_string(channels) + " channel(s)");
            const TestAudio audio = material(channels, sampleRate);
            TruePeakMeter meter(channels, sampleRate);
            const size_t blocks[] = {1, 3, 5, 4, 11, 4099};
            for (size_t done = 0, which = 0; done < audio.frames(); ++which)
            {
                const size_t frames = std::min(blocks[which % 6], audio.frames() - done);
                meter.addFrames(audio.samples.data() + done * static_cast<size_t>(channels), frames);
                done += frames;
            }
            ebur128_state* reference = ebur128_init(static_cast<unsigned>(channels),
                                                    static_cast<unsigned long>(sampleRate), EBUR128_MODE_TRUE_PEAK);
            ebur128_add_frames_float(reference, audio.samples.data(), audio.frames());
            for (int channel = 0; channel < channels; ++channel)
            {
                const float truePeak = meter.getTruePeaks()[static_cast<size_t>(channel)];
                EXPECT_EQ(truePeak, plainTruePeak(audio, channel, TruePeakMeter::oversamplingFor(sampleRate)));
                // Well above the sample peak: the tone's crests lie between samples.
                EXPECT_GT(truePeak, 1.3f * meter.getSamplePeaks()[static_cast<size_t>(channel)]);
                double expected = 0.0;
                ebur128_true_peak(reference, static_cast<unsigned>(channel), &expected);
                EXPECT_NEAR(20.0 * std::log10(truePeak), 20.0 * std::log10(expected), 0.001);
            }
            ebur128_destroy(&reference);
        }
    }
}
