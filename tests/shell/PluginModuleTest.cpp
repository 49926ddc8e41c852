// The built module as a host sees it, loaded through the binary interface:
// identity, capabilities, parameters, programs and its exported symbols.
#include "CommandRunner.h"
#include "PluginTables.h"
#include "VstModule.h"

#include <dlfcn.h>

#include <cstring>
#include <limits>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace
{
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
    for (const char* yes : confirmedCapabilities)
    {
        EXPECT_EQ(plugin.canDo(yes), 1) << yes;
    }
    for (const char* no : deniedCapabilities)
    {
        EXPECT_EQ(plugin.canDo(no), -1) << no;
    }
    for (const char* unknown : {"", "2in2out ", "supportsViewDpiScaling", "hasCockosExtensions"})
    {
        EXPECT_EQ(plugin.canDo(unknown), -1) << unknown;
    }
}

TEST_F(PluginModule, ParameterNamesAndLabels)
{
    for (int j = 0; j < pluginParameterCount; ++j)
    {
        EXPECT_EQ(plugin.parameterName(j), expectedParameters[j].name) << j;
        EXPECT_EQ(plugin.parameterLabel(j), expectedParameters[j].label) << j;
    }
    for (int bad : {-1, 13, 64, std::numeric_limits<int>::max()})
    {
        EXPECT_EQ(plugin.parameterName(bad), "") << bad;
        EXPECT_EQ(plugin.parameterLabel(bad), "") << bad;
        EXPECT_EQ(plugin.parameterDisplay(bad), "") << bad;
    }
}

TEST_F(PluginModule, DisplayTextsInUnitsCutToEightCharacters)
{
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
        {0, 1000.0f, "+39980.0"}, {0, 1.0e6f, "+3999998"}, {7, -1.0e6f, "-1000000"},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(display(c.parameter, c.value), c.text) << "parameter " << c.parameter << " at " << c.value;
    }
}

TEST_F(PluginModule, ProgramZeroAtLoadFactoryProgramsThenGeneratedOnesHoldingTheDefaults)
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
}

TEST_F(PluginModule, RenamedProgramKeepsItsNameWhenReselected)
{
    plugin.setProgramName("My master");
    plugin.setProgram(3);
    plugin.setProgram(0);
    EXPECT_EQ(plugin.programName(), "My master");
    EXPECT_EQ(plugin.programNameIndexed(0), "My master");
    EXPECT_EQ(plugin.programNameIndexed(3), "EBU R128 -1 dBTP");

    plugin.setProgramName("A program name of more than 24 characters");
    EXPECT_EQ(plugin.programName(), "A program name of more t");
}

TEST_F(PluginModule, ProgramsAndParametersOutsideTheTablesChangeNothing)
{
    plugin.setProgram(5);
    plugin.setParameter(2, 0.123f);
    const ParameterValues before = values();
    for (VstInt32 bad : {64, -1, 1000})
    {
        plugin.setProgram(bad);
        EXPECT_EQ(plugin.program(), 5) << bad;
        EXPECT_EQ(plugin.programName(), "+6 dB gain");
        EXPECT_EQ(values(), before) << "after setProgram " << bad;
    }
    for (VstInt32 bad : {13, 14, 1000, -1, -13, std::numeric_limits<VstInt32>::min()})
    {
        plugin.setParameter(bad, 0.77f);
        EXPECT_EQ(plugin.getParameter(bad), 0.0f) << bad;
        EXPECT_EQ(values(), before) << "after setParameter " << bad;
    }
    // Texts of a parameter the plug-in does not have: the host's buffer
    // comes back byte for byte as it went in, terminator or none.
    for (VstInt32 opcode : {effGetParamName, effGetParamLabel, effGetParamDisplay})
    {
        for (VstInt32 bad : {13, 1000, -1})
        {
            char buffer[64];
            std::memset(buffer, 0xA5, sizeof buffer);
            char sent[sizeof buffer];
            std::memcpy(sent, buffer, sizeof buffer);
            EXPECT_EQ(plugin.dispatch(opcode, bad, 0, buffer), 0);
            EXPECT_EQ(std::memcmp(buffer, sent, sizeof buffer), 0) << "opcode " << opcode << ", index " << bad;
        }
    }
    // Other programs are untouched too.
    plugin.setProgram(17);
    for (int j = 0; j < pluginParameterCount; ++j)
    {
        EXPECT_NE(plugin.getParameter(j), 0.77f);
    }
}

TEST_F(PluginModule, NonFiniteValuesAreIgnoredOutOfRangeValuesKept)
{
    plugin.setParameter(0, 0.25f);
    for (float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                      -std::numeric_limits<float>::infinity()})
    {
        plugin.setParameter(0, bad);
        EXPECT_EQ(plugin.getParameter(0), 0.25f);
    }
    plugin.setParameter(0, 1.5f);
    EXPECT_EQ(plugin.getParameter(0), 1.5f);
    EXPECT_EQ(plugin.parameterDisplay(0), "+40.0");
    plugin.setParameter(0, -0.25f);
    EXPECT_EQ(plugin.parameterDisplay(0), "-30.0");
}

TEST(PluginExports, OnlyTheEntryPoints)
{
    const CommandResult nm = runCommand({"nm", "-D", "--defined-only", PALISORNE_MODULE_PATH});
    ASSERT_TRUE(nm.started);
    ASSERT_EQ(nm.exitCode, 0) << nm.output;
    std::set<std::string> symbols;
    std::istringstream lines(nm.output);
    std::string line;
    while (std::getline(lines, line))
    {
        const std::size_t space = line.find_last_of(' ');
        if (!line.empty())
        {
            symbols.insert(space == std::string::npos ? line : line.substr(space + 1));
        }
    }
    EXPECT_EQ(symbols, (std::set<std::string>{"VSTPluginMain", "main"})) << nm.output;
}

TEST(PluginEntry, HostWithoutVersionGetsNoEffect)
{
    // The entry point itself, called as a host that answers 0 to everything.
    void* library = dlopen(PALISORNE_MODULE_PATH, RTLD_LOCAL | RTLD_NOW);
    ASSERT_NE(library, nullptr);
    auto entry = reinterpret_cast<VstPluginMainProc>(dlsym(library, "VSTPluginMain"));
    auto alias = reinterpret_cast<VstPluginMainProc>(dlsym(library, "main"));
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
    dlclose(library);
}
