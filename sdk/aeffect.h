#pragma once

// The core of the VST 2.4 binary interface between a host and an effect
// module: the effect record, its flags and the first dispatcher and
// host-callback opcodes (the 2.x extensions are in aeffectx.h). Written from
// the publicly known layout; everything here must keep the exact sizes and
// values that hosts and modules built elsewhere expect.

#include <cstddef>
#include <cstdint>

typedef int16_t VstInt16;
typedef int32_t VstInt32;
typedef int64_t VstInt64;
typedef intptr_t VstIntPtr;

// x86-64 has one calling convention, on Linux and Windows alike.
#define VSTCALLBACK

struct AEffect;

typedef VstIntPtr (VSTCALLBACK *audioMasterCallback)(AEffect* effect, VstInt32 opcode, VstInt32 index,
                                                     VstIntPtr value, void* ptr, float opt);
typedef VstIntPtr (VSTCALLBACK *AEffectDispatcherProc)(AEffect* effect, VstInt32 opcode, VstInt32 index,
                                                       VstIntPtr value, void* ptr, float opt);
typedef void (VSTCALLBACK *AEffectProcessProc)(AEffect* effect, float** inputs, float** outputs,
                                               VstInt32 sampleFrames);
typedef void (VSTCALLBACK *AEffectProcessDoubleProc)(AEffect* effect, double** inputs, double** outputs,
                                                     VstInt32 sampleFrames);
typedef void (VSTCALLBACK *AEffectSetParameterProc)(AEffect* effect, VstInt32 index, float parameter);
typedef float (VSTCALLBACK *AEffectGetParameterProc)(AEffect* effect, VstInt32 index);

// Four characters packed most significant first, as unique IDs and the magic are.
constexpr VstInt32 vstFourCharCode(char a, char b, char c, char d)
{
    return static_cast<VstInt32>((static_cast<uint32_t>(static_cast<unsigned char>(a)) << 24)
                                 | (static_cast<uint32_t>(static_cast<unsigned char>(b)) << 16)
                                 | (static_cast<uint32_t>(static_cast<unsigned char>(c)) << 8)
                                 | static_cast<uint32_t>(static_cast<unsigned char>(d)));
}

constexpr VstInt32 kEffectMagic = vstFourCharCode('V', 's', 't', 'P');
constexpr VstInt32 kVstVersion = 2400;

// The record the module hands to the host; the host calls through its pointers.
struct AEffect
{
    VstInt32 magic;
    AEffectDispatcherProc dispatcher;
    AEffectProcessProc process;             // the old accumulating call; unused by 2.4 effects
    AEffectSetParameterProc setParameter;
    AEffectGetParameterProc getParameter;
    VstInt32 numPrograms;
    VstInt32 numParams;
    VstInt32 numInputs;
    VstInt32 numOutputs;
    VstInt32 flags;
    VstIntPtr resvd1;
    VstIntPtr resvd2;
    VstInt32 initialDelay;
    VstInt32 realQualities;
    VstInt32 offQualities;
    float ioRatio;
    void* object;                           // the effect's own object
    void* user;                             // free for the host
    VstInt32 uniqueID;
    VstInt32 version;
    AEffectProcessProc processReplacing;
    AEffectProcessDoubleProc processDoubleReplacing;
    char future[56];
};

#if defined(__x86_64__)
static_assert(sizeof(AEffect) == 192, "AEffect size on x86_64");
static_assert(offsetof(AEffect, magic) == 0, "AEffect::magic");
static_assert(offsetof(AEffect, dispatcher) == 8, "AEffect::dispatcher");
static_assert(offsetof(AEffect, process) == 16, "AEffect::process");
static_assert(offsetof(AEffect, setParameter) == 24, "AEffect::setParameter");
static_assert(offsetof(AEffect, getParameter) == 32, "AEffect::getParameter");
static_assert(offsetof(AEffect, numPrograms) == 40, "AEffect::numPrograms");
static_assert(offsetof(AEffect, numParams) == 44, "AEffect::numParams");
static_assert(offsetof(AEffect, numInputs) == 48, "AEffect::numInputs");
static_assert(offsetof(AEffect, numOutputs) == 52, "AEffect::numOutputs");
static_assert(offsetof(AEffect, flags) == 56, "AEffect::flags");
static_assert(offsetof(AEffect, resvd1) == 64, "AEffect::resvd1");
static_assert(offsetof(AEffect, resvd2) == 72, "AEffect::resvd2");
static_assert(offsetof(AEffect, initialDelay) == 80, "AEffect::initialDelay");
static_assert(offsetof(AEffect, realQualities) == 84, "AEffect::realQualities");
static_assert(offsetof(AEffect, offQualities) == 88, "AEffect::offQualities");
static_assert(offsetof(AEffect, ioRatio) == 92, "AEffect::ioRatio");
static_assert(offsetof(AEffect, object) == 96, "AEffect::object");
static_assert(offsetof(AEffect, user) == 104, "AEffect::user");
static_assert(offsetof(AEffect, uniqueID) == 112, "AEffect::uniqueID");
static_assert(offsetof(AEffect, version) == 116, "AEffect::version");
static_assert(offsetof(AEffect, processReplacing) == 120, "AEffect::processReplacing");
static_assert(offsetof(AEffect, processDoubleReplacing) == 128, "AEffect::processDoubleReplacing");
static_assert(offsetof(AEffect, future) == 136, "AEffect::future");
#endif

// AEffect::flags
enum VstAEffectFlags
{
    effFlagsHasEditor = 1 << 0,
    effFlagsHasClip = 1 << 1,               // deprecated
    effFlagsHasVu = 1 << 2,                 // deprecated
    effFlagsCanMono = 1 << 3,               // deprecated
    effFlagsCanReplacing = 1 << 4,
    effFlagsProgramChunks = 1 << 5,
    effFlagsIsSynth = 1 << 8,
    effFlagsNoSoundInStop = 1 << 9,
    effFlagsExtIsAsync = 1 << 10,           // deprecated
    effFlagsExtHasBuffer = 1 << 11,         // deprecated
    effFlagsCanDoubleReplacing = 1 << 12
};

// Dispatcher opcodes: the host asks, the effect answers.
enum AEffectOpcodes
{
    effOpen = 0,
    effClose,
    effSetProgram,
    effGetProgram,
    effSetProgramName,
    effGetProgramName,
    effGetParamLabel,
    effGetParamDisplay,
    effGetParamName,
    effGetVu,                               // deprecated
    effSetSampleRate,
    effSetBlockSize,
    effMainsChanged,
    effEditGetRect,
    effEditOpen,
    effEditClose,
    effEditDraw,                            // deprecated
    effEditMouse,                           // deprecated
    effEditKey,                             // deprecated
    effEditIdle,
    effEditTop,                             // deprecated
    effEditSleep,                           // deprecated
    effIdentify,                            // deprecated
    effGetChunk,
    effSetChunk,
    effNumOpcodes
};

// Host-callback opcodes: the effect asks, the host answers.
enum AudioMasterOpcodes
{
    audioMasterAutomate = 0,
    audioMasterVersion,
    audioMasterCurrentId,
    audioMasterIdle,
    audioMasterPinConnected                 // deprecated
};
