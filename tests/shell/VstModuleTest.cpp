// The host-side loader against small modules made for it and against files
// that are not VST 2 plug-ins.
#include "VstModule.h"

#include <cstring>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace
{
// Loading must fail, and the message must name the file and the reason.
void expectLoadError(const std::string& path, const std::string& reason)
{
    try
    {
        VstModule module(path);
        ADD_FAILURE() << path << " was loaded";
    }
    catch (const std::runtime_error& error)
    {
        const std::string message = error.what();
        EXPECT_NE(message.find(path), std::string::npos) << message;
        EXPECT_NE(message.find(reason), std::string::npos) << message;
    }
}
}

TEST(VstModuleErrors, FilesThatAreNotPluginsAreRefusedWithAReason)
{
    expectLoadError("/nonexistent/KW_Palisorne.so", "cannot load");
    expectLoadError(__FILE__, "cannot load");
    expectLoadError(PROBE_NO_ENTRY_PATH, "neither VSTPluginMain nor main");
    expectLoadError(PROBE_NULL_PATH, "created no effect");
    expectLoadError(PROBE_BAD_MAGIC_PATH, "wrong magic");
}

TEST(VstModuleLoading, EntryCalledMainIsFoundTooCloseForgetsTheEffect)
{
    VstModule module(PROBE_MAIN_ONLY_PATH);
    EXPECT_EQ(module.effectName(), "Probe");
    EXPECT_EQ(module.uniqueId(), vstFourCharCode('P', 'r', 'b', 'e'));
    ASSERT_NE(module.effect(), nullptr);
    module.close();
    EXPECT_EQ(module.effect(), nullptr);
    EXPECT_EQ(module.dispatch(effGetEffectName), 0);
    EXPECT_EQ(module.numInputs(), 0);
    EXPECT_EQ(module.effectName(), "");
    module.close();
}

TEST(VstModuleHost, AnswersTheEffectsQuestions)
{
    VstModule module(PROBE_ECHO_PATH);
    auto ask = [&module](VstInt32 opcode, void* ptr = nullptr) {
        return module.dispatch(effVendorSpecific, opcode, 0, ptr);
    };
    EXPECT_EQ(ask(audioMasterVersion), 2400);
    EXPECT_EQ(ask(audioMasterGetSampleRate), 44100);
    EXPECT_EQ(ask(audioMasterGetBlockSize), 1024);
    module.setSampleRate(96000.0f);
    module.setBlockSize(64);
    EXPECT_EQ(ask(audioMasterGetSampleRate), 96000);
    EXPECT_EQ(ask(audioMasterGetBlockSize), 64);

    char text[kVstMaxVendorStrLen];
    std::memset(text, 'x', sizeof text);
    EXPECT_EQ(ask(audioMasterGetVendorString, text), 1);
    EXPECT_STREQ(text, VstModule::hostVendor);
    EXPECT_EQ(ask(audioMasterGetProductString, text), 1);
    EXPECT_STREQ(text, VstModule::hostProduct);
    EXPECT_EQ(ask(audioMasterGetVendorString), 0);
    char capability[] = "sendVstTimeInfo";
    EXPECT_EQ(ask(audioMasterCanDo, capability), 0);
    EXPECT_EQ(ask(audioMasterGetTime), 0);
    EXPECT_EQ(ask(9999), 0);
}

TEST(VstModuleHost, RecordsAutomationIncludingDuringCreation)
{
    VstModule module(PROBE_ECHO_PATH);
    ASSERT_EQ(module.automation().size(), 1u);
    EXPECT_EQ(module.automation()[0].index, 7);
    EXPECT_EQ(module.automation()[0].value, 0.625f);

    module.dispatch(effVendorSpecific, audioMasterAutomate, 0, nullptr, 0.0f);
    module.clearAutomation();
    EXPECT_TRUE(module.automation().empty());

    // Two instances keep their own records.
    VstModule other(PROBE_ECHO_PATH);
    other.clearAutomation();
    module.effect()->dispatcher(module.effect(), effVendorSpecific, audioMasterAutomate, 0, nullptr, 0.25f);
    EXPECT_EQ(module.automation().size(), 1u);
    EXPECT_TRUE(other.automation().empty());
}
