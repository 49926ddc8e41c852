// The SDK layer as a host drives it: every call goes through the AEffect
// record, as from a host, onto a small effect that records what reaches it.
#include "AEffGUIEditor.h"
#include "AudioEffectX.h"

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace
{
struct HostCall
{
    VstInt32 opcode;
    VstInt32 index;
    VstIntPtr value;
    float opt;
};

std::vector<HostCall> hostCalls;

VstIntPtr recordingHost(AEffect*, VstInt32 opcode, VstInt32 index, VstIntPtr value, void*, float opt)
{
    hostCalls.push_back({opcode, index, value, opt});
    return opcode == audioMasterVersion ? kVstVersion : 1;
}

// Three programs, two parameters; remembers what the dispatcher handed on.
class TestEffect : public AudioEffectX
{
public:
    explicit TestEffect(bool* deleted) : AudioEffectX(recordingHost, 3, 2), deleted(deleted)
    {
        canProcessReplacing(true);
        setNumInputs(2);
        setNumOutputs(2);
    }
    ~TestEffect() override { *deleted = true; }

    void processReplacing(float** inputs, float** outputs, VstInt32 frames) override
    {
        for (VstInt32 i = 0; i < frames; ++i)
        {
            outputs[0][i] = 2.0f * inputs[0][i];
        }
    }
    void setParameter(VstInt32 index, float value) override
    {
        calls.push_back("setParameter " + std::to_string(index));
        lastValue = value;
    }
    float getParameter(VstInt32 index) override { return 0.25f * static_cast<float>(index); }
    void getParameterName(VstInt32 index, char* text) override { answer("name", index, text, "Gain"); }
    void getParameterDisplay(VstInt32 index, char* text) override { answer("display", index, text, "1.0"); }
    void getParameterLabel(VstInt32 index, char* text) override { answer("label", index, text, "dB"); }
    bool getProgramNameIndexed(VstInt32, VstInt32 index, char* text) override
    {
        answer("programNameIndexed", index, text, "Prog");
        return true;
    }
    bool getEffectName(char* name) override
    {
        vst_strncpy(name, "Tester", kVstMaxEffectNameLen);
        return true;
    }
    VstInt32 canDo(char* text) override { return text ? 1 : -1; }
    void setSampleRate(float rate) override
    {
        calls.push_back("setSampleRate");
        AudioEffectX::setSampleRate(rate);
    }
    void setBlockSize(VstInt32 size) override { calls.push_back("setBlockSize " + std::to_string(size)); }
    void suspend() override { calls.push_back("suspend"); }
    void resume() override { calls.push_back("resume"); }

    std::vector<std::string> calls;
    float lastValue = -1.0f;

private:
    void answer(const char* what, VstInt32 index, char* text, const char* value)
    {
        calls.push_back(what + (" " + std::to_string(index)));
        vst_strncpy(text, value, kVstMaxParamStrLen);
    }

    bool* deleted;
};

class TestEditor : public AEffGUIEditor
{
public:
    explicit TestEditor(AudioEffect* effect, bool* deleted) : AEffGUIEditor(effect), deleted(deleted)
    {
        rect = {0, 0, 427, 506};
    }
    ~TestEditor() override { *deleted = true; }
    void idle() override { ++idleCount; }
    bool onKeyDown(VstKeyCode& key) override
    {
        lastKey = key;
        return true;
    }

    int idleCount = 0;
    VstKeyCode lastKey{0, 0, 0};

private:
    bool* deleted;
};

class AudioEffectDispatcher : public ::testing::Test
{
protected:
    void SetUp() override
    {
        hostCalls.clear();
        effect = new TestEffect(&effectDeleted);
        record = effect->getAeffect();
    }
    void TearDown() override
    {
        if (!effectDeleted)
        {
            record->dispatcher(record, effClose, 0, 0, nullptr, 0.0f);
        }
    }
    VstIntPtr dispatch(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0, void* ptr = nullptr,
                       float opt = 0.0f)
    {
        return record->dispatcher(record, opcode, index, value, ptr, opt);
    }

    // The answer to a text opcode and the text in a buffer that held "garbage".
    std::pair<VstIntPtr, std::string> text(VstInt32 opcode, VstInt32 index = 0)
    {
        char buffer[80] = "garbage";
        const VstIntPtr answer = dispatch(opcode, index, 0, buffer);
        return {answer, buffer};
    }

    bool effectDeleted = false;
    TestEffect* effect = nullptr;
    AEffect* record = nullptr;
};
}

TEST_F(AudioEffectDispatcher, RecordFollowsAnnouncements)
{
    EXPECT_EQ(record->flags, effFlagsCanReplacing);
    EXPECT_EQ(dispatch(effGetVstVersion), 2400);
    effect->canDoubleReplacing(true);
    effect->noTail(true);
    EXPECT_EQ(record->flags, effFlagsCanReplacing | effFlagsCanDoubleReplacing | effFlagsNoSoundInStop);
    effect->canProcessReplacing(false);
    effect->noTail(false);
    EXPECT_EQ(record->flags, effFlagsCanDoubleReplacing);
}

TEST_F(AudioEffectDispatcher, AudioParameterAndAutomationEntries)
{
    float in[4] = {0.5f, -0.25f, 1.0f, 0.0f};
    float out[4] = {};
    float* inputs[2] = {in, in};
    float* outputs[2] = {out, out};
    record->processReplacing(record, inputs, outputs, 4);
    EXPECT_FLOAT_EQ(out[0], 1.0f);
    EXPECT_FLOAT_EQ(out[1], -0.5f);
    EXPECT_FLOAT_EQ(out[2], 2.0f);

    // The deprecated accumulating entry must not touch the host's buffers.
    record->process(record, inputs, outputs, 4);
    EXPECT_FLOAT_EQ(out[2], 2.0f);

    record->setParameter(record, 1, 0.75f);
    EXPECT_EQ(effect->calls.back(), "setParameter 1");
    EXPECT_FLOAT_EQ(effect->lastValue, 0.75f);
    EXPECT_FLOAT_EQ(record->getParameter(record, 1), 0.25f);

    // Automation is reported to the host, edits bracketed.
    effect->setParameterAutomated(1, 0.125f);
    EXPECT_FLOAT_EQ(effect->lastValue, 0.125f);
    ASSERT_EQ(hostCalls.size(), 1u);
    EXPECT_EQ(hostCalls[0].opcode, audioMasterAutomate);
    EXPECT_EQ(hostCalls[0].index, 1);
    EXPECT_FLOAT_EQ(hostCalls[0].opt, 0.125f);

    EXPECT_TRUE(effect->beginEdit(1));
    EXPECT_TRUE(effect->endEdit(1));
    ASSERT_EQ(hostCalls.size(), 3u);
    EXPECT_EQ(hostCalls[1].opcode, audioMasterBeginEdit);
    EXPECT_EQ(hostCalls[2].opcode, audioMasterEndEdit);
    EXPECT_EQ(hostCalls[2].index, 1);
}

TEST_F(AudioEffectDispatcher, EntriesWithoutAnObjectAreHarmless)
{
    record->object = nullptr;
    EXPECT_EQ(dispatch(effGetVstVersion), 0);
    record->setParameter(record, 0, 1.0f);
    EXPECT_FLOAT_EQ(record->getParameter(record, 0), 0.0f);
    record->processReplacing(record, nullptr, nullptr, 16);
    record->processDoubleReplacing(record, nullptr, nullptr, 16);
    EXPECT_EQ(record->dispatcher(nullptr, effGetVstVersion, 0, 0, nullptr, 0.0f), 0);
    EXPECT_FLOAT_EQ(record->getParameter(nullptr, 0), 0.0f);
    record->setParameter(nullptr, 0, 1.0f);
    EXPECT_TRUE(effect->calls.empty());
    record->object = effect;
}

TEST_F(AudioEffectDispatcher, ParameterTextsOnlyForValidIndicesAndBuffers)
{
    for (VstInt32 opcode : {effGetParamName, effGetParamLabel, effGetParamDisplay})
    {
        for (VstInt32 index : {-1, 2, 1000, std::numeric_limits<VstInt32>::min()})
        {
            EXPECT_EQ(text(opcode, index), std::make_pair(VstIntPtr{0}, std::string("garbage"))) << opcode << ", " << index;
        }
        EXPECT_EQ(dispatch(opcode, 0, 0, nullptr), 0);
    }
    EXPECT_TRUE(effect->calls.empty());

    EXPECT_EQ(text(effGetParamName, 1).second, "Gain");
    EXPECT_EQ(text(effGetParamLabel, 0).second, "dB");
    EXPECT_EQ(text(effGetParamDisplay, 1).second, "1.0");
    EXPECT_EQ(effect->calls, (std::vector<std::string>{"name 1", "label 0", "display 1"}));
}

TEST_F(AudioEffectDispatcher, ProgramsOnlyWithinTheTable)
{
    EXPECT_EQ(dispatch(effSetProgram, 0, 2), 0);
    EXPECT_EQ(dispatch(effGetProgram), 2);
    for (VstIntPtr program : {VstIntPtr{3}, VstIntPtr{-1}, VstIntPtr{1} << 40})
    {
        dispatch(effSetProgram, 0, program);
        EXPECT_EQ(dispatch(effGetProgram), 2) << program;
    }
    // The framework default keeps the range too when called directly.
    effect->setProgram(7);
    EXPECT_EQ(effect->getProgram(), 2);

    EXPECT_EQ(text(effGetProgramNameIndexed, 3), std::make_pair(VstIntPtr{0}, std::string()));
    EXPECT_EQ(text(effGetProgramNameIndexed, -1).first, 0);
    EXPECT_EQ(dispatch(effGetProgramNameIndexed, 0, 0, nullptr), 0);
    EXPECT_TRUE(effect->calls.empty());
    EXPECT_EQ(text(effGetProgramNameIndexed, 2), std::make_pair(VstIntPtr{1}, std::string("Prog")));

    EXPECT_EQ(dispatch(effSetProgramName, 0, 0, nullptr), 0);
    EXPECT_EQ(dispatch(effGetProgramName, 0, 0, nullptr), 0);
    EXPECT_EQ(text(effGetProgramName).second, "");
}

TEST_F(AudioEffectDispatcher, IdentityTextsNeedABufferCanDoGetsTheHostsText)
{
    EXPECT_EQ(dispatch(effGetEffectName, 0, 0, nullptr), 0);
    EXPECT_EQ(text(effGetEffectName), std::make_pair(VstIntPtr{1}, std::string("Tester")));
    // Not provided by this effect: answered 0 with an empty text.
    EXPECT_EQ(text(effGetVendorString), std::make_pair(VstIntPtr{0}, std::string()));
    EXPECT_EQ(dispatch(effGetProductString, 0, 0, nullptr), 0);
    EXPECT_EQ(dispatch(effGetVendorVersion), 0);
    // The host's text is passed on as it came.
    char text[] = "2in2out";
    EXPECT_EQ(dispatch(effCanDo, 0, 0, text), 1);
    EXPECT_EQ(dispatch(effCanDo, 0, 0, nullptr), -1);
}

TEST_F(AudioEffectDispatcher, SampleRateAndBlockSizeRejectNonsenseMainsSuspendAndResume)
{
    dispatch(effSetSampleRate, 0, 0, nullptr, 48000.0f);
    EXPECT_FLOAT_EQ(effect->getSampleRate(), 48000.0f);
    for (float rate : {0.0f, -44100.0f, std::nanf(""), std::numeric_limits<float>::infinity()})
    {
        dispatch(effSetSampleRate, 0, 0, nullptr, rate);
        EXPECT_FLOAT_EQ(effect->getSampleRate(), 48000.0f) << rate;
    }
    for (VstIntPtr size : {VstIntPtr{512}, VstIntPtr{0}, VstIntPtr{-64}, VstIntPtr{1} << 40})
    {
        dispatch(effSetBlockSize, 0, size);
    }
    dispatch(effMainsChanged, 0, 0);
    dispatch(effMainsChanged, 0, 1);
    dispatch(effMainsChanged, 0, 0);
    EXPECT_EQ(effect->calls,
              (std::vector<std::string>{"setSampleRate", "setBlockSize 512", "suspend", "resume", "suspend"}));
}

TEST_F(AudioEffectDispatcher, EditorOpcodesReachTheEditorCloseDeletesBoth)
{
    bool editorDeleted = false;
    TestEditor* editor = new TestEditor(effect, &editorDeleted);
    effect->setEditor(editor);
    EXPECT_EQ(record->flags & effFlagsHasEditor, effFlagsHasEditor);

    ERect* rect = nullptr;
    EXPECT_EQ(dispatch(effEditGetRect, 0, 0, &rect), 1);
    ASSERT_NE(rect, nullptr);
    EXPECT_EQ(rect->right - rect->left, 506);
    EXPECT_EQ(rect->bottom - rect->top, 427);

    EXPECT_FALSE(editor->isOpen());
    EXPECT_EQ(dispatch(effEditOpen, 0, 0, nullptr), 0);
    EXPECT_FALSE(editor->isOpen());
    int window = 0;
    EXPECT_EQ(dispatch(effEditOpen, 0, 0, &window), 1);
    EXPECT_TRUE(editor->isOpen());
    dispatch(effEditIdle);
    dispatch(effEditIdle);
    EXPECT_EQ(editor->idleCount, 2);

    EXPECT_EQ(dispatch(effEditKeyDown, 'q', VKEY_ESCAPE, nullptr, static_cast<float>(MODIFIER_SHIFT)), 1);
    EXPECT_EQ(editor->lastKey.character, 'q');
    EXPECT_EQ(editor->lastKey.virt, VKEY_ESCAPE);
    EXPECT_EQ(editor->lastKey.modifier, MODIFIER_SHIFT);
    // Values that do not fit a key code arrive as "none".
    dispatch(effEditKeyDown, 'w', 100000, nullptr, std::nanf(""));
    EXPECT_EQ(editor->lastKey.virt, 0);
    EXPECT_EQ(editor->lastKey.modifier, 0);
    EXPECT_EQ(dispatch(effEditKeyUp, 'q', 0, nullptr, 0.0f), 0);

    dispatch(effEditClose);
    EXPECT_FALSE(editor->isOpen());
    EXPECT_EQ(editor->getFrame(), nullptr);

    EXPECT_EQ(dispatch(effClose), 1);
    EXPECT_TRUE(effectDeleted);
    EXPECT_TRUE(editorDeleted);
}
