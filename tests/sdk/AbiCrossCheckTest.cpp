// Our declarations against the independent clean-room header shipped in
// Debian's dpf-source: every layout fact and opcode both describe must agree.
#include "aeffectx.h"

#include <cstddef>
#include <cstdint>

#include <gtest/gtest.h>

#ifndef _WIN32
#define __cdecl
#endif
#include "vst.h"

static_assert(sizeof(AEffect) == sizeof(vst_effect), "record size");
static_assert(offsetof(AEffect, magic) == offsetof(vst_effect, magic_number), "magic");
static_assert(offsetof(AEffect, dispatcher) == offsetof(vst_effect, control), "dispatcher");
static_assert(offsetof(AEffect, process) == offsetof(vst_effect, process), "process");
static_assert(offsetof(AEffect, setParameter) == offsetof(vst_effect, set_parameter), "setParameter");
static_assert(offsetof(AEffect, getParameter) == offsetof(vst_effect, get_parameter), "getParameter");
static_assert(offsetof(AEffect, numPrograms) == offsetof(vst_effect, num_programs), "numPrograms");
static_assert(offsetof(AEffect, numParams) == offsetof(vst_effect, num_params), "numParams");
static_assert(offsetof(AEffect, numInputs) == offsetof(vst_effect, num_inputs), "numInputs");
static_assert(offsetof(AEffect, numOutputs) == offsetof(vst_effect, num_outputs), "numOutputs");
static_assert(offsetof(AEffect, flags) == offsetof(vst_effect, flags), "flags");
static_assert(offsetof(AEffect, initialDelay) == offsetof(vst_effect, delay), "initialDelay");
static_assert(offsetof(AEffect, ioRatio) == offsetof(vst_effect, _unknown_float_00), "ioRatio");
static_assert(offsetof(AEffect, object) == offsetof(vst_effect, effect_internal), "object");
static_assert(offsetof(AEffect, user) == offsetof(vst_effect, host_internal), "user");
static_assert(offsetof(AEffect, uniqueID) == offsetof(vst_effect, unique_id), "uniqueID");
static_assert(offsetof(AEffect, version) == offsetof(vst_effect, version), "version");
static_assert(offsetof(AEffect, processReplacing) == offsetof(vst_effect, process_float), "processReplacing");
static_assert(offsetof(AEffect, processDoubleReplacing) == offsetof(vst_effect, process_double),
              "processDoubleReplacing");
static_assert(sizeof(ERect) == sizeof(vst_rect), "ERect");
static_assert(offsetof(ERect, bottom) == offsetof(vst_rect, bottom), "ERect::bottom");
static_assert(offsetof(ERect, right) == offsetof(vst_rect, right), "ERect::right");

TEST(AbiCrossCheck, MagicAndVersionAgree)
{
    EXPECT_EQ(kEffectMagic, VST_MAGICNUMBER);
    EXPECT_EQ(kVstVersion, static_cast<VstInt32>(VST_VERSION_2_4_0_0));
}

TEST(AbiCrossCheck, EffectOpcodesAgree)
{
    const std::pair<int, long> pairs[] = {
        {effOpen, VST_EFFECT_OPCODE_CREATE},
        {effClose, VST_EFFECT_OPCODE_DESTROY},
        {effGetParamLabel, VST_EFFECT_OPCODE_PARAM_GETLABEL},
        {effGetParamDisplay, VST_EFFECT_OPCODE_PARAM_GETVALUE},
        {effGetParamName, VST_EFFECT_OPCODE_PARAM_GETNAME},
        {effSetSampleRate, VST_EFFECT_OPCODE_SETSAMPLERATE},
        {effSetBlockSize, VST_EFFECT_OPCODE_SETBLOCKSIZE},
        {effMainsChanged, VST_EFFECT_OPCODE_SUSPEND},
        {effEditGetRect, VST_EFFECT_OPCODE_WINDOW_GETRECT},
        {effEditOpen, VST_EFFECT_OPCODE_WINDOW_CREATE},
        {effEditClose, VST_EFFECT_OPCODE_WINDOW_DESTROY},
        {effCanBeAutomated, VST_EFFECT_OPCODE_PARAM_ISAUTOMATABLE},
        {effGetProgramNameIndexed, VST_EFFECT_OPCODE_1D},
        {effGetInputProperties, VST_EFFECT_OPCODE_INPUT_GETCHANNELNAME},
        {effGetOutputProperties, VST_EFFECT_OPCODE_OUTPUT_GETCHANNELNAME},
        {effGetPlugCategory, VST_EFFECT_OPCODE_EFFECT_CATEGORY},
        {effSetSpeakerArrangement, VST_EFFECT_OPCODE_SET_SPEAKER_ARRANGEMENT},
        {effSetBypass, VST_EFFECT_OPCODE_BYPASS},
        {effGetEffectName, VST_EFFECT_OPCODE_EFFECT_NAME},
        {effGetVendorString, VST_EFFECT_OPCODE_VENDOR_NAME},
        {effGetProductString, VST_EFFECT_OPCODE_PRODUCT_NAME},
        {effGetVendorVersion, VST_EFFECT_OPCODE_VENDOR_VERSION},
        {effVendorSpecific, VST_EFFECT_OPCODE_CUSTOM},
        {effCanDo, VST_EFFECT_OPCODE_SUPPORTS},
        {effGetTailSize, VST_EFFECT_OPCODE_TAIL_SAMPLES},
        {effGetVstVersion, VST_EFFECT_OPCODE_VST_VERSION},
        {effGetSpeakerArrangement, VST_EFFECT_OPCODE_GET_SPEAKER_ARRANGEMENT},
        {effStartProcess, VST_EFFECT_OPCODE_PROCESS_BEGIN},
        {effStopProcess, VST_EFFECT_OPCODE_PROCESS_END},
        {effGetNumMidiOutputChannels, VST_EFFECT_OPCODE_4F},
    };
    for (const auto& [ours, theirs] : pairs)
    {
        EXPECT_EQ(ours, theirs);
    }
    // The numbering has no gaps: the last opcode they know is ours too.
    EXPECT_EQ(effGetNumMidiOutputChannels + 1, static_cast<long>(VST_EFFECT_OPCODE_MAX));
}

TEST(AbiCrossCheck, HostOpcodesAndCategoriesAgree)
{
    EXPECT_EQ(audioMasterBeginEdit, static_cast<long>(VST_HOST_OPCODE_2B));
    EXPECT_EQ(audioMasterEndEdit, static_cast<long>(VST_HOST_OPCODE_2C));
    EXPECT_EQ(kPlugCategRestoration, static_cast<long>(VST_CATEGORY_RESTORATION));
    EXPECT_EQ(kPlugCategShell, static_cast<long>(VST_CATEGORY_CONTAINER));
    EXPECT_EQ(kVstParameterIsSwitch, static_cast<long>(VST_PARAMETER_FLAGS_SWITCH));
    EXPECT_EQ(kVstParameterUsesIntegerMinMax, static_cast<long>(VST_PARAMETER_FLAGS_INTEGER_LIMITS));
    EXPECT_EQ(kVstParameterSupportsDisplayCategory, static_cast<long>(VST_PARAMETER_FLAGS_CATEGORY));
    EXPECT_EQ(kVstMaxEffectNameLen, VST_EFFECT_BUFFER_SIZE);
    EXPECT_EQ(kVstMaxVendorStrLen, VST_VENDOR_BUFFER_SIZE);
    EXPECT_EQ(kVstMaxProductStrLen, VST_PRODUCT_BUFFER_SIZE);
    EXPECT_EQ(kVstMaxParamStrLen, VST_BUFFER_8);
}
