// The data-driven framework on a small effect of its own (no limiter):
// descriptor defaults, definitions, program handling and the host answers.
#include "CVSTPlugin.h"

#include <cmath>
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

    CVSTConfig& descriptor() { return *config; }

    std::vector<std::string> calls;
};

std::string call(int index, float value)
{
    return "setParameter " + std::to_string(index) + " " + std::to_string(value);
}

// What a text getter writes for a parameter into a buffer that held "garbage".
std::string text(TestPlugin& plugin, void (CVSTPlugin::*getter)(VstInt32, char*), VstInt32 index)
{
    char buffer[32] = "garbage";
    (plugin.*getter)(index, buffer);
    return buffer;
}

// (value - min) / (max - min) in single precision, as the framework computes it.
float normalised(float value, float minimum, float maximum)
{
    return (value - minimum) / (maximum - minimum);
}
}

TEST(VSTConfigDefaults, IdentityAndCapabilities)
{
    // Vendor, version, category, flags and the listed capabilities are seen through the built module.
    CVSTConfig config(3, 2);
    EXPECT_EQ(config.uniqueID, 0x4B575650);
    EXPECT_STREQ(config.effectName, "VSTPlugin");
    for (const char* unknown : {"", "2in2ou", "2in2outs", "BYPASS", "sendVstTimeInfo"})
    {
        EXPECT_EQ(config.canDo(unknown), -1) << unknown;
    }
    EXPECT_EQ(config.canDo(nullptr), -1);
    config.canDoAnswer[15] = 1;
    EXPECT_EQ(config.canDo("bypass"), 1);
}

TEST(VSTConfigDefaults, GeneratedProgramsAndParameters)
{
    CVSTConfig config(programCount, parameterCount);
    // Two digits either side of ten.
    EXPECT_STREQ(config.programs[9].name, "Program 09");
    EXPECT_STREQ(config.programs[10].name, "Program 10");
    for (int j = 0; j < parameterCount; ++j)
    {
        const CVSTConfig::Parameter& parameter = config.parameters[j];
        EXPECT_EQ(std::string(parameter.name), "Par " + std::to_string(j));
        EXPECT_EQ(std::string(parameter.label), "Lab " + std::to_string(j));
        EXPECT_STREQ(parameter.format, "%3.2f");
        EXPECT_EQ(parameter.minimum, 0.0f);
        EXPECT_EQ(parameter.maximum, 1.0f);
        EXPECT_EQ(parameter.defaultValue, 0.5f);
        for (int i = 0; i < programCount; ++i)
        {
            EXPECT_EQ(config.programs[i].values[j].load(), 0.5f);
        }
    }
}

TEST(VSTConfigDefinitions, TextsAreCutDefaultsReachEveryProgramProgramsAreNormalised)
{
    CVSTConfig config(3, 2);
    config.defineParameter(1, "Threshold", "decibels", -60.0f, 0.0f, -20.0f, "%+12.4f");
    EXPECT_STREQ(config.parameters[1].name, "Threshol");
    EXPECT_STREQ(config.parameters[1].label, "decibels");
    EXPECT_STREQ(config.parameters[1].format, "%+12.4f");
    const float expected = normalised(-20.0f, -60.0f, 0.0f);
    EXPECT_EQ(config.parameters[1].defaultValue, expected);
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(config.programs[i].values[1].load(), expected);
        EXPECT_EQ(config.programs[i].values[0].load(), 0.5f);
    }
    EXPECT_FLOAT_EQ(config.toPlain(1, expected), -20.0f);
    EXPECT_EQ(config.toPlain(1, 0.0f), -60.0f);
    EXPECT_EQ(config.toPlain(1, 1.0f), 0.0f);
    EXPECT_EQ(config.toPlain(-1, 1.0f), 0.0f);
    EXPECT_EQ(config.toPlain(2, 1.0f), 0.0f);

    config.defineParameter(0, "Gain", "dB", -20.0f, 20.0f, 0.0f, "%+2.1f");
    const float values[2] = {6.0f, -2.0f};
    config.defineProgram(2, "A name longer than twenty-four chars", values);
    EXPECT_STREQ(config.programs[2].name, "A name longer than twent");
    EXPECT_EQ(config.programs[2].values[0].load(), normalised(6.0f, -20.0f, 20.0f));
    EXPECT_EQ(config.programs[2].values[1].load(), normalised(-2.0f, -60.0f, 0.0f));
    // The untouched programs keep the defaults.
    EXPECT_EQ(config.programs[1].values[0].load(), 0.5f);
    EXPECT_EQ(config.programs[1].values[1].load(), expected);
}

TEST(VSTConfigDefinitions, OutOfRangeDefinitionsAreIgnored)
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
}

TEST(VSTConfigDefinitions, EmptyRangeDoesNotDivideByZero)
{
    CVSTConfig config(1, 1);
    config.defineParameter(0, "Fixed", "", 3.0f, 3.0f, 3.0f, "%1.0f");
    const float values[1] = {3.0f};
    config.defineProgram(0, "Fixed", values);
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
}

TEST(VSTPluginInitialise, TailSizeOneAnnouncesNoTail)
{
    TestPlugin silent(1);
    EXPECT_EQ(silent.getAeffect()->flags, effFlagsCanReplacing | effFlagsNoSoundInStop);
    EXPECT_EQ(silent.getGetTailSize(), 1);
    TestPlugin ringing(4410);
    EXPECT_EQ(ringing.getAeffect()->flags, effFlagsCanReplacing);
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

    // Finite values outside 0..1 are kept as given.
    plugin.setParameter(1, 1.5f);
    EXPECT_EQ(plugin.getParameter(1), 1.5f);
    plugin.setParameter(1, -0.5f);
    EXPECT_EQ(plugin.getParameter(1), -0.5f);
    // Automation stores through the most derived setter.
    plugin.calls.clear();
    plugin.setParameterAutomated(2, 0.125f);
    EXPECT_EQ(plugin.calls, std::vector<std::string>{call(2, 0.125f)});
    EXPECT_EQ(plugin.getParameter(2), 0.125f);
}

TEST(VSTPluginParameters, BadIndicesAndNonFiniteValuesStoreNothing)
{
    TestPlugin plugin;
    const float before = plugin.getParameter(0);
    for (float bad : {std::nanf(""), std::numeric_limits<float>::infinity(),
                      -std::numeric_limits<float>::infinity()})
    {
        plugin.setParameter(0, bad);
        EXPECT_EQ(plugin.getParameter(0), before);
    }
    plugin.setParameter(-1, 0.3f);
    plugin.setParameter(parameterCount, 0.3f);
    EXPECT_EQ(plugin.getParameter(-1), 0.0f);
    EXPECT_EQ(plugin.getParameter(parameterCount), 0.0f);
    EXPECT_EQ(plugin.getPlainValue(-1), 0.0f);
    EXPECT_EQ(plugin.getPlainValue(parameterCount), 0.0f);
    for (int i = 1; i < programCount; ++i)
    {
        plugin.setProgram(i);
        for (int j = 0; j < parameterCount; ++j)
        {
            EXPECT_NE(plugin.getParameter(j), 0.3f) << "program " << i << ", parameter " << j;
        }
    }
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

TEST(VSTPluginPrograms, NamesAreCutAndKeptPerProgram)
{
    TestPlugin plugin;
    char name[64];
    char renamed[] = "Twenty-five characters!!!";
    plugin.setProgram(11);
    plugin.setProgramName(renamed);
    plugin.setProgramName(nullptr);
    plugin.getProgramName(name);
    EXPECT_STREQ(name, "Twenty-five characters!!");

    EXPECT_TRUE(plugin.getProgramNameIndexed(0, 0, name));
    EXPECT_STREQ(name, "A name longer than twent");
    EXPECT_TRUE(plugin.getProgramNameIndexed(0, 10, name));
    EXPECT_STREQ(name, "Program 10");
    EXPECT_FALSE(plugin.getProgramNameIndexed(0, programCount, name));
    EXPECT_FALSE(plugin.getProgramNameIndexed(0, -1, name));
    EXPECT_FALSE(plugin.getProgramNameIndexed(0, 1, nullptr));
}

TEST(VSTPluginTexts, DisplayIsTheValueInUnitsCutToEightPlaces)
{
    TestPlugin plugin;
    const auto display = &CVSTPlugin::getParameterDisplay;
    const auto withLabel = &CVSTPlugin::getParameterText;
    EXPECT_EQ(text(plugin, display, 0), "-6.0");
    plugin.setParameter(0, 0.0f);
    EXPECT_EQ(text(plugin, display, 0), "-60.0");
    // 12345.678 in float is 12345.677734..., printed "12345.6777", cut after 8.
    EXPECT_EQ(text(plugin, display, 3), "12345.67");
    EXPECT_EQ(text(plugin, display, 1), "0.25");

    EXPECT_EQ(text(plugin, withLabel, 0), "-60.0dB");
    EXPECT_EQ(text(plugin, withLabel, 3), "12345.67Hz");
    EXPECT_EQ(text(plugin, withLabel, 2), "3");
    EXPECT_EQ(text(plugin, withLabel, parameterCount), "");

    EXPECT_EQ(text(plugin, &CVSTPlugin::getParameterName, 0), "Threshol");
    EXPECT_EQ(text(plugin, &CVSTPlugin::getParameterLabel, 1), "Lab 1");
    EXPECT_EQ(text(plugin, &CVSTPlugin::getParameterName, -1), "garbage");
    EXPECT_EQ(text(plugin, &CVSTPlugin::getParameterLabel, parameterCount), "garbage");
    EXPECT_EQ(text(plugin, display, parameterCount), "garbage");
    plugin.getParameterName(0, nullptr);
    plugin.getParameterText(0, nullptr);
}

TEST(VSTPluginTexts, IdentityFromTheRecord)
{
    TestPlugin plugin;
    plugin.descriptor().setEffectName("An effect name of more than thirty-two characters");
    plugin.descriptor().setVendorString("Vendor");
    char text[128];
    EXPECT_TRUE(plugin.getEffectName(text));
    EXPECT_STREQ(text, "An effect name of more than thir");
    EXPECT_TRUE(plugin.getVendorString(text));
    EXPECT_STREQ(text, "Vendor");
    EXPECT_TRUE(plugin.getProductString(text));
    EXPECT_STREQ(text, "VSTPlugin");
    EXPECT_FALSE(plugin.getEffectName(nullptr));
    EXPECT_FALSE(plugin.getVendorString(nullptr));
    EXPECT_FALSE(plugin.getProductString(nullptr));
}
