// The data-driven framework on a small effect of its own (no limiter):
// definitions at their edges, initialisation and program handling.
#include "CVSTPlugin.h"

#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace
{
constexpr int programCount = 12;
constexpr int parameterCount = 4;

// Four parameters: a threshold in dB, one left at the framework's defaults,
// a mode switch and a frequency whose display text is too long for 8 places.
class TestPlugin : public CVSTPlugin
{
public:
    explicit TestPlugin(VstInt32 tailSize = 0)
        : CVSTPlugin(nullptr, 1, 2, programCount, parameterCount)
    {
        config->defineParameter(0, "Threshold", "dB", -60.0f, 0.0f, -20.0f, "%+2.1f");
        config->defineParameter(2, "Mode", "", 0.0f, 3.0f, 1.0f, "%1.0f");
        config->defineParameter(3, "Freq", "Hz", 0.0f, 100000.0f, 1000.0f, "%1.4f");
        const float first[parameterCount] = {-6.0f, 0.25f, 3.0f, 12345.678f};
        config->defineProgram(0, "A name longer than twenty-four chars", first);
        config->initialDelay = 77;
        config->uniqueID = vstFourCharCode('T', 'e', 's', 't');
        config->tailSize = tailSize;
        initialise();
    }

    void setParameter(VstInt32 index, float value) override
    {
        calls.push_back("setParameter " + std::to_string(index) + " " + std::to_string(value));
        CVSTPlugin::setParameter(index, value);
    }
    void setSampleRate(float rate) override
    {
        calls.push_back("setSampleRate " + std::to_string(rate));
        CVSTPlugin::setSampleRate(rate);
    }
    void resume() override { calls.push_back("resume"); }
    void processReplacing(float**, float**, VstInt32) override {}

    std::vector<std::string> calls;
};

std::string call(int index, float value)
{
    return "setParameter " + std::to_string(index) + " " + std::to_string(value);
}

// (value - min) / (max - min) in single precision, as the framework computes it.
float normalised(float value, float minimum, float maximum)
{
    return (value - minimum) / (maximum - minimum);
}
}

TEST(VSTConfigDefinitions, OutOfRangeDefinitionsIgnoredEmptyRangesHarmless)
{
    CVSTConfig config(2, 2);
    const float values[2] = {0.1f, 0.9f};
    config.defineParameter(-1, "Bad", "x", 5.0f, 6.0f, 5.5f, "%f");
    config.defineParameter(2, "Bad", "x", 5.0f, 6.0f, 5.5f, "%f");
    config.defineProgram(-1, "Bad", values);
    config.defineProgram(2, "Bad", values);
    config.defineProgram(0, "Bad", nullptr);
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_EQ(std::string(config.programs[i].name), "Program 0" + std::to_string(i));
        EXPECT_EQ(std::string(config.parameters[i].name), "Par " + std::to_string(i));
        EXPECT_EQ(config.programs[i].values[0].load(), 0.5f);
        EXPECT_EQ(config.programs[i].values[1].load(), 0.5f);
    }

    // An empty range does not divide by zero.
    config.defineParameter(0, "Fixed", "", 3.0f, 3.0f, 3.0f, "%1.0f");
    const float fixed[2] = {3.0f, 5.5f};
    config.defineProgram(0, "Fixed", fixed);
    EXPECT_EQ(config.parameters[0].defaultValue, 0.0f);
    EXPECT_EQ(config.programs[0].values[0].load(), 0.0f);
    EXPECT_EQ(config.toPlain(0, 0.7f), 3.0f);
}

TEST(VSTPluginInitialise, AnnouncesTheRecordThenSetsRateProgramAndResumes)
{
    TestPlugin plugin;
    const AEffect* record = plugin.getAeffect();
    EXPECT_EQ(record->flags, effFlagsCanReplacing);
    EXPECT_EQ(record->numInputs, 1);
    EXPECT_EQ(record->numOutputs, 2);
    EXPECT_EQ(record->numPrograms, programCount);
    EXPECT_EQ(record->numParams, parameterCount);
    EXPECT_EQ(record->initialDelay, 77);
    EXPECT_EQ(record->uniqueID, vstFourCharCode('T', 'e', 's', 't'));

    const std::vector<std::string> expected = {
        "setSampleRate " + std::to_string(44100.0f),
        call(0, normalised(-6.0f, -60.0f, 0.0f)),
        call(1, 0.25f),
        call(2, 1.0f),
        call(3, normalised(12345.678f, 0.0f, 100000.0f)),
        "resume",
    };
    EXPECT_EQ(plugin.calls, expected);
    EXPECT_EQ(plugin.getProgram(), 0);

    // A tail size of 1, and only 1, announces no tail.
    TestPlugin silent(1);
    EXPECT_EQ(silent.getAeffect()->flags, effFlagsCanReplacing | effFlagsNoSoundInStop);
    EXPECT_EQ(silent.getGetTailSize(), 1);
    EXPECT_EQ(TestPlugin(4410).getAeffect()->flags, effFlagsCanReplacing);
}

TEST(VSTPluginParameters, ValuesLiveInTheCurrentProgramAutomationStoresThem)
{
    TestPlugin plugin;
    plugin.setParameter(2, 0.75f);
    EXPECT_EQ(plugin.getParameter(2), 0.75f);
    plugin.setProgram(5);
    EXPECT_EQ(plugin.getParameter(2), normalised(1.0f, 0.0f, 3.0f));
    plugin.setProgram(0);
    EXPECT_EQ(plugin.getParameter(2), 0.75f);

    // Indices outside the table and values that are not finite store nothing.
    for (VstInt32 bad : {parameterCount, -1, 1 << 30})
    {
        plugin.setParameter(bad, 0.5f);
        EXPECT_EQ(plugin.getParameter(bad), 0.0f) << bad;
    }
    plugin.setParameter(2, std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(plugin.getParameter(2), 0.75f);

    // Automation stores through the most derived setter.
    plugin.calls.clear();
    plugin.setParameterAutomated(2, 0.125f);
    EXPECT_EQ(plugin.calls, std::vector<std::string>{call(2, 0.125f)});
    EXPECT_EQ(plugin.getParameter(2), 0.125f);
}

TEST(VSTPluginPrograms, SelectingReplaysEveryValueInOrder)
{
    TestPlugin plugin;
    plugin.calls.clear();
    plugin.setProgram(3);
    const std::vector<std::string> expected = {
        call(0, normalised(-20.0f, -60.0f, 0.0f)),
        call(1, 0.5f),
        call(2, normalised(1.0f, 0.0f, 3.0f)),
        call(3, normalised(1000.0f, 0.0f, 100000.0f)),
    };
    EXPECT_EQ(plugin.calls, expected);
    EXPECT_EQ(plugin.getProgram(), 3);

    plugin.calls.clear();
    plugin.setProgram(programCount);
    plugin.setProgram(-1);
    EXPECT_TRUE(plugin.calls.empty());
    EXPECT_EQ(plugin.getProgram(), 3);
}
