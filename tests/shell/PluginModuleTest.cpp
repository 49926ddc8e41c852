// The built module as a host sees it, loaded through the binary interface:
// identity, capabilities, the parameter and program tables and its exported
// symbols. The tables are written out here a second time, independently of
// the plug-in's own, from what the plug-in promises its users.
#include "ProcessRunner.h"
#include "SharedLibrary.h"
#include "VstModule.h"

#include <array>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace
{
constexpr int pluginParameterCount = 13;
constexpr int pluginProgramCount = 64;
constexpr int factoryProgramCount = 17;

struct ExpectedParameter
{
    const char* name;
    const char* label;
    float minimum;
    float maximum;
    float defaultValue;
};

constexpr ExpectedParameter expectedParameters[pluginParameterCount] = {
    {"In gain", "dB", -20.0f, 20.0f, 0.0f},
    {"Attack", "s", 0.0f, 1.0f, 0.04f},
    {"Release", "s", 0.0f, 1.0f, 0.5f},
    {"Lookahd", "s", 0.0f, 0.003f, 0.001f},
    {"ISP", "", 0.0f, 1.0f, 0.0f},
    {"Outceil", "dB", -10.0f, 0.0f, -0.1f},
    {"Scale", "", 0.0f, 3.0f, 0.0f},
    {"Link", "%", 0.0f, 100.0f, 35.0f},
    {"AES17", "", 0.0f, 1.0f, 1.0f},
    {"Monitor", "", 0.0f, 1.0f, 0.0f},
    {"Saturate", "%", 0.0f, 100.0f, 20.0f},
    {"NumBits", "", 0.0f, 3.0f, 0.0f},
    {"Shaping", "%", 0.0f, 100.0f, 100.0f},
};

struct ExpectedProgram
{
    const char* name;
    float values[pluginParameterCount];
};

constexpr ExpectedProgram expectedPrograms[factoryProgramCount] = {
    {"Palisorne limiter", {0, 0.04f, 0.5f, 0.001f, 0, -0.1f, 0, 35, 1, 0, 30, 0, 0}},
    {"K-system DVD master", {0, 0.03f, 0.5f, 0.002f, 1, -1, 3, 50, 1, 0, 10, 3, 50}},
    {"K-system CD master", {0, 0.05f, 0.4f, 0.001f, 1, -0.1f, 2, 35, 1, 0, 20, 2, 100}},
    {"EBU R128 -1 dBTP", {0, 0.04f, 0.3f, 0.001f, 1, -1, 0, 40, 1, 0, 20, 3, 50}},
    {"ATSC A/85 -2 dBTP", {0, 0.04f, 0.3f, 0.001f, 1, -2, 0, 40, 1, 0, 20, 3, 50}},
    {"+6 dB gain", {6, 0.04f, 0.4f, 0.001f, 0, 0, 0, 35, 1, 0, 30, 0, 0}},
    {"+10 dB gain", {10, 0.04f, 0.5f, 0.001f, 0, 0, 0, 35, 1, 0, 40, 0, 0}},
    {"Bass-heavy CD master", {0, 0.04f, 0.4f, 0.0015f, 1, -0.1f, 0, 35, 1, 0, 40, 2, 100}},
    {"Clean CD master", {0, 0.02f, 0.6f, 0.001f, 1, -0.5f, 0, 35, 1, 0, 20, 2, 100}},
    {"+6 dB true peak headroom", {0, 0.04f, 0.4f, 0.001f, 1, -6, 0, 35, 1, 0, 30, 0, 0}},
    {"+10 dB true peak headroom", {0, 0.04f, 0.5f, 0.001f, 1, -10, 0, 35, 1, 0, 40, 0, 0}},
    {"Push it to the limit", {10, 0.08f, 0.4f, 0.001f, 0, 0, 0, 0, 1, 0, 80, 0, 0}},
    {"Vintage limiter", {6, 0, 0.15f, 0.001f, 0, 0, 0, 0, 1, 0, 0, 0, 0}},
    {"Solid low end", {6, 0.04f, 0.4f, 0.003f, 0, 0, 0, 50, 1, 0, 30, 0, 0}},
    {"Edgy", {6, 0.2f, 0.2f, 0.001f, 0, 0, 0, 50, 1, 0, 90, 0, 0}},
    {"Add warmth", {6, 0.2f, 0.2f, 0.0004f, 0, 0, 0, 0, 1, 0, 100, 0, 0}},
    {"Transient squeezer", {0, 0.09f, 0.2f, 0.001f, 0, -5, 0, 0, 1, 1, 100, 0, 0}},
};

// The normalised value the host sees for a value in units.
inline float normalisedValue(int parameter, float units)
{
    const ExpectedParameter& p = expectedParameters[parameter];
    return (units - p.minimum) / (p.maximum - p.minimum);
}

using ParameterValues = std::array<float, pluginParameterCount>;

// The normalised values of a factory program, or of the defaults (program -1).
inline ParameterValues normalisedValues(int program)
{
    ParameterValues values;
    for (int j = 0; j < pluginParameterCount; ++j)
    {
        values[j] = normalisedValue(
            j, program < 0 ? expectedParameters[j].defaultValue : expectedPrograms[program].values[j]);
    }
    return values;
}


class PluginModule : public ::testing::Test
{
protected:
    PluginModule() : plugin(PALISORNE_MODULE_PATH)
    {
        plugin.open();
        plugin.setSampleRate(44100.0f);
        plugin.setBlockSize(512);
        plugin.resume();
    }

    std::string display(int parameter, float value)
    {
        plugin.setParameter(parameter, value);
        return plugin.parameterDisplay(parameter);
    }

    ParameterValues values()
    {
        ParameterValues current;
        for (int j = 0; j < pluginParameterCount; ++j)
        {
            current[j] = plugin.getParameter(j);
        }
        return current;
    }

    VstModule plugin;
};
}

TEST_F(PluginModule, IdentityAndFlags)
{
    EXPECT_EQ(plugin.effect()->magic, kEffectMagic);
    EXPECT_EQ(plugin.effectName(), "KW_Palisorne");
    EXPECT_EQ(plugin.productString(), "KW_Palisorne");
    EXPECT_EQ(plugin.vendorString(), "Virelmatt");
    EXPECT_EQ(plugin.vendorVersion(), 2610);
    EXPECT_EQ(plugin.uniqueId(), 0x4B575053);
    EXPECT_EQ(plugin.vstVersion(), 2400);
    EXPECT_EQ(plugin.plugCategory(), kPlugCategEffect);
    EXPECT_EQ(plugin.tailSize(), 0);
    EXPECT_EQ(plugin.numInputs(), 2);
    EXPECT_EQ(plugin.numOutputs(), 2);
    EXPECT_EQ(plugin.numPrograms(), pluginProgramCount);
    EXPECT_EQ(plugin.numParams(), pluginParameterCount);
    EXPECT_EQ(plugin.initialDelay(), 1535);

    // Replacing only: no double precision, chunks, synth or silence when stopped.
    const VstInt32 announced = effFlagsCanReplacing | effFlagsCanDoubleReplacing | effFlagsProgramChunks
                               | effFlagsIsSynth | effFlagsNoSoundInStop;
    EXPECT_EQ(plugin.flags() & announced, effFlagsCanReplacing);
    // No state block of its own: the host keeps parameter values.
    void* chunk = nullptr;
    EXPECT_EQ(plugin.dispatch(effGetChunk, 0, 0, &chunk), 0);
}

TEST_F(PluginModule, CanDoAnswers)
{
    for (const char* yes : {"plugAsChannelInsert", "plugAsSend", "mixDryWet", "1in1out", "1in2out", "2in1out", "2in2out"})
    {
        EXPECT_EQ(plugin.canDo(yes), 1) << yes;
    }
    // What it cannot do, and texts it does not know.
    for (const char* no : {"sendVstEvents", "sendVstMidiEvent", "receiveVstEvents", "receiveVstMidiEvent",
                           "receiveVstTimeInfo", "offline", "noRealTime", "midiProgramNames", "bypass", "",
                           "2in2out ", "supportsViewDpiScaling", "hasCockosExtensions"})
    {
        EXPECT_EQ(plugin.canDo(no), -1) << no;
    }
}

TEST_F(PluginModule, NamesLabelsAndDisplayTextsInUnitsCutToEightCharacters)
{
    for (int j = 0; j < pluginParameterCount; ++j)
    {
        EXPECT_EQ(plugin.parameterName(j), expectedParameters[j].name) << j;
        EXPECT_EQ(plugin.parameterLabel(j), expectedParameters[j].label) << j;
    }

    // Each parameter's format and range, at an end or a value that shows the sign or width.
    const struct
    {
        int parameter;
        float value;
        const char* text;
    } cases[] = {
        {0, 0.5f, "+0.0"}, {0, 0.0f, "-20.0"}, {0, 1.0f, "+20.0"}, {1, 1.0f, "1.0000"}, {2, 0.5f, "0.5000"},
        {3, 1.0f, "0.0030"}, {4, 1.0f, "1.0"}, {5, 0.0f, "-10.0"}, {5, 1.0f, "0.0"}, {6, 1.0f, " 3"},
        {7, 1.0f, "100"}, {8, 1.0f, "1"}, {9, 0.0f, "0"}, {10, 0.3f, "30"}, {12, 0.0f, " 0"}, {12, 1.0f, "100"},
        // 0.49 of 0..3 is 1.47 and prints as 1; 0.5 is exactly 1.5, which printf rounds to the even 2.
        {11, 0.49f, " 1"}, {11, 0.5f, " 2"},
        // -20 + 1000 * 40 = 39980 dB prints as "+39980.0", exactly 8 characters; longer texts are cut.
        {0, 1000.0f, "+39980.0"}, {0, 1.0e6f, "+3999998"},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(display(c.parameter, c.value), c.text) << "parameter " << c.parameter << " at " << c.value;
    }
}

TEST_F(PluginModule, ProgramZeroAtLoadFactoryThenGeneratedProgramsRenamable)
{
    EXPECT_EQ(plugin.program(), 0);
    EXPECT_EQ(values(), normalisedValues(0));
    for (int p = 0; p < pluginProgramCount; ++p)
    {
        const bool factory = p < factoryProgramCount;
        const std::string name =
            factory ? std::string(expectedPrograms[p].name).substr(0, 24) : "Program " + std::to_string(p);
        EXPECT_EQ(plugin.programNameIndexed(p), name) << p;
        plugin.setProgram(p);
        EXPECT_EQ(plugin.program(), p);
        EXPECT_EQ(plugin.programName(), name);
        EXPECT_EQ(values(), normalisedValues(factory ? p : -1)) << "program " << p;
    }
    EXPECT_FALSE(plugin.programNameIndexed(pluginProgramCount).has_value());
    EXPECT_FALSE(plugin.programNameIndexed(-1).has_value());

    // A renamed program keeps its name when reselected.
    plugin.setProgram(0);
    plugin.setProgramName("My master");
    plugin.setProgram(3);
    plugin.setProgram(0);
    EXPECT_EQ(plugin.programName(), "My master");
    EXPECT_EQ(plugin.programNameIndexed(0), "My master");
    EXPECT_EQ(plugin.programNameIndexed(3), "EBU R128 -1 dBTP");

    plugin.setProgramName("A program name of more than 24 characters");
    EXPECT_EQ(plugin.programName(), "A program name of more t");
}

// The Windows module's export table is checked with the mingw objdump.
#ifndef _WIN32
TEST(PluginExports, OnlyTheEntryPoints)
{
    const ProcessResult nm = runProcess({"nm", "-D", "--defined-only", PALISORNE_MODULE_PATH});
    ASSERT_TRUE(nm.started);
    ASSERT_EQ(nm.exitCode, 0) << nm.err;
    std::set<std::string> symbols;
    std::istringstream lines(nm.out);
    std::string line;
    while (std::getline(lines, line))
    {
        const std::size_t space = line.find_last_of(' ');
        if (!line.empty())
        {
            symbols.insert(space == std::string::npos ? line : line.substr(space + 1));
        }
    }
    EXPECT_EQ(symbols, (std::set<std::string>{"VSTPluginMain", "main"})) << nm.out;
}
#endif

TEST(PluginEntry, HostWithoutVersionGetsNoEffect)
{
    // The entry point itself, called as a host that answers 0 to everything.
    const SharedLibrary library(PALISORNE_MODULE_PATH);
    auto entry = reinterpret_cast<VstPluginMainProc>(library.symbol("VSTPluginMain"));
    auto alias = reinterpret_cast<VstPluginMainProc>(library.symbol("main"));
    ASSERT_NE(entry, nullptr);
    ASSERT_NE(alias, nullptr);
    auto silentHost = [](AEffect*, VstInt32, VstInt32, VstIntPtr, void*, float) -> VstIntPtr { return 0; };
    EXPECT_EQ(entry(silentHost), nullptr);
    EXPECT_EQ(alias(silentHost), nullptr);
    EXPECT_EQ(entry(nullptr), nullptr);

    auto versionHost = [](AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float) -> VstIntPtr {
        return opcode == audioMasterVersion ? 2400 : 0;
    };
    AEffect* effect = alias(versionHost);
    ASSERT_NE(effect, nullptr);
    EXPECT_EQ(effect->uniqueID, 0x4B575053);
    EXPECT_EQ(effect->dispatcher(effect, effClose, 0, 0, nullptr, 0.0f), 1);
}
