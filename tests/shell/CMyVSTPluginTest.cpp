// The effect object from inside: what reaches the editor, and what reaches
// the limiter's settings, which a host cannot see directly.
#include "AEffEditor.h"
#include "CMyVSTPlugin.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace
{
class RecordingEditor : public AEffEditor
{
public:
    explicit RecordingEditor(AudioEffect* effect) : AEffEditor(effect) {}
    void setParameter(VstInt32 index, float value) override { received.emplace_back(index, value); }

    std::vector<std::pair<VstInt32, float>> received;
};

class EffectObject : public ::testing::Test
{
protected:
    EffectObject() : plugin(nullptr, 2, 2, 64, 13), editor(new RecordingEditor(&plugin))
    {
        plugin.setEditor(editor);
    }

    CMyVSTPlugin plugin;
    RecordingEditor* editor;
};
}

TEST_F(EffectObject, EditorSeesEveryChangeWithinTheUpperBound)
{
    plugin.setParameter(6, 0.5f);
    plugin.setParameter(0, 0.25f);
    // Only the upper bound is tested first: a negative index still reaches the editor.
    plugin.setParameter(-1, 0.3f);
    plugin.setParameter(13, 0.3f);
    plugin.setParameter(200, 0.3f);
    plugin.setParameter(2, std::numeric_limits<float>::quiet_NaN());
    const std::vector<std::pair<VstInt32, float>> expected = {{6, 0.5f}, {0, 0.25f}, {-1, 0.3f}};
    EXPECT_EQ(editor->received, expected);
    EXPECT_EQ(plugin.getParameter(6), 0.5f);
    EXPECT_EQ(plugin.getParameter(-1), 0.0f);
}

TEST_F(EffectObject, WordLengthStepsAreZeroEightSixteenTwentyFourBits)
{
    // Program 0's ceiling of -0.1 dB (0.98855) shows the grid; 0 dB is on every grid.
    const float ceiling = std::pow(10.0f, -0.1f * 0.05f);
    // The ceiling passes through the normalised value: a few float roundings.
    EXPECT_NEAR(plugin.getClipLevel(), ceiling, 1e-6f);
    // 0.49 is 1.47 steps: rounds to 1, 8 bits, a grid of 1/128.
    plugin.setParameter(11, 0.49f);
    EXPECT_EQ(plugin.getClipLevel(), 126.0f / 128.0f);
    // 0.5 is exactly 1.5 steps: rounds up to 2, 16 bits.
    plugin.setParameter(11, 0.5f);
    EXPECT_EQ(plugin.getClipLevel(), 32392.0f / 32768.0f);
    // 24 bits: on the grid of 2^-23, at most one step below the ceiling.
    plugin.setParameter(11, 1.0f);
    const float steps = std::ldexp(1.0f, 23);
    EXPECT_EQ(std::floor(plugin.getClipLevel() * steps), plugin.getClipLevel() * steps);
    EXPECT_NEAR(plugin.getClipLevel(), ceiling, 1.0f / steps + 1e-6f);
    plugin.setParameter(5, 1.0f);
    EXPECT_EQ(plugin.getClipLevel(), 1.0f);
}

TEST_F(EffectObject, LookaheadFollowsTheLimitersRate)
{
    // Program 0: 1 ms, i.e. (int)(44.1 + 0.5) samples.
    EXPECT_EQ(plugin.getLookaheadSamples(), 44);
    plugin.setParameter(3, 1.0f);
    EXPECT_EQ(plugin.getLookaheadSamples(), 132);
    plugin.setParameter(3, 0.0f);
    EXPECT_EQ(plugin.getLookaheadSamples(), 4);
    plugin.setParameter(3, 1.0f);
    // The rate reaches the limiter only: the SDK base keeps the one it started with.
    plugin.setSampleRate(192000.0f);
    EXPECT_EQ(plugin.getLookaheadSamples(), 507);
    EXPECT_EQ(plugin.AudioEffect::getSampleRate(), 44100.0f);
}

// The on/off parameters count exactly 0.5 as off. With 10 dB of input gain,
// "ISP" (true-peak detection) and "Monitor" (the gain heard only by the
// detection) both change what comes out of a sine whose peaks lie between
// its samples (1.4 at the peaks, +-0.99 at the samples); at 0.5 it comes
// out as at 0, apart from the +-1e-8 anti-denormal noise the instances draw
// differently.
TEST(EffectSwitches, HalfwayIsOff)
{
    const auto render = [](int index, float value) {
        CMyVSTPlugin plugin(nullptr, 2, 2, 64, 13);
        plugin.setParameter(0, 0.75f);
        plugin.setParameter(index, value);
        std::vector<float> input(4096), left(4096), right(4096);
        for (std::size_t n = 0; n < input.size(); ++n)
        {
            input[n] = 1.4f * std::sin(1.5707963f * static_cast<float>(n) + 0.78539816f);
        }
        float* inputs[2] = {input.data(), input.data()};
        float* outputs[2] = {left.data(), right.data()};
        plugin.processReplacing(inputs, outputs, 4096);
        return left;
    };
    for (int index : {4, 9})
    {
        const std::vector<float> off = render(index, 0.0f);
        const std::vector<float> half = render(index, 0.5f);
        const std::vector<float> on = render(index, 1.0f);
        float halfway = 0.0f;
        float switched = 0.0f;
        for (std::size_t n = 0; n < off.size(); ++n)
        {
            halfway = std::max(halfway, std::fabs(half[n] - off[n]));
            switched = std::max(switched, std::fabs(on[n] - off[n]));
        }
        EXPECT_LT(halfway, 1e-6f) << "parameter " << index;
        EXPECT_GT(switched, 0.01f) << "parameter " << index;
    }
}
