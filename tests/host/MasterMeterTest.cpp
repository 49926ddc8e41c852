#include "MasterMeter.h"

#include "TestAudio.h"

#include <ebur128.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

// The BS.1770 figures the master's own meter derives from 100 ms energies
// equal libebur128's: integrated loudness, loudness range, largest momentary
// and short-term loudness, at rates whose 100 ms is not a whole number of
// samples too. The material is 20 s of noise that steps up by 6 dB after a
// quarter and by 12 dB more halfway, so gates, windows and percentiles all
// have something to decide: the quietest blocks lie between the loudness
// range's relative gate and the integrated loudness's.
TEST(MasterMeter, AgreesWithLibebur128OnEveryLoudnessFigure)
{
    for (const int sampleRate : {44100, 48000, 96000})
    {
        SCOPED_TRACE(sampleRate);
        TestAudio audio = TestAudio::noise(2, sampleRate, static_cast<size_t>(20 * sampleRate), 0.1f, 0);
        for (size_t i = 0; i < audio.samples.size(); ++i)
        {
            audio.samples[i] *= i < audio.samples.size() / 4 ? 0.5f : i < audio.samples.size() / 2 ? 1.0f : 4.0f;
        }
        MasterMeter meter(2, sampleRate);
        ebur128_state* reference =
            ebur128_init(2, static_cast<unsigned long>(sampleRate), EBUR128_MODE_I | EBUR128_MODE_LRA);
        double largestMomentary = -HUGE_VAL;
        double largestShortTerm = -HUGE_VAL;
        const size_t step = static_cast<size_t>((sampleRate + 5) / 10);
        for (size_t frame = 0; frame + step <= audio.frames(); frame += step)
        {
            meter.addFrames(audio.samples.data() + 2 * frame, step);
            ebur128_add_frames_float(reference, audio.samples.data() + 2 * frame, step);
            double loudness = 0.0;
            ebur128_loudness_momentary(reference, &loudness);
            largestMomentary = frame >= 3 * step ? std::max(largestMomentary, loudness) : largestMomentary;
            ebur128_loudness_shortterm(reference, &loudness);
            largestShortTerm = frame >= 29 * step ? std::max(largestShortTerm, loudness) : largestShortTerm;
        }
        const MasterMeasurement measured = meter.finish();
        double integrated = 0.0;
        double range = 0.0;
        ebur128_loudness_global(reference, &integrated);
        ebur128_loudness_range(reference, &range);
        ebur128_destroy(&reference);
        EXPECT_NEAR(measured.integratedLufs(), integrated, 1e-6);
        EXPECT_NEAR(measured.loudnessRangeLu(), range, 1e-6);
        EXPECT_NEAR(measured.maxMomentaryLufs(), largestMomentary, 1e-6);
        EXPECT_NEAR(measured.maxShortTermLufs(), largestShortTerm, 1e-6);
    }
}
