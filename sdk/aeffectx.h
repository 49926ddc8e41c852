#pragma once

// The VST 2.4 binary interface between a host and an effect module: the
// effect record, the dispatcher and host-callback opcodes, flags, limits and
// the small records passed through the dispatcher. Written from the publicly
// known layout; everything here must keep the exact sizes and values that
// hosts and modules built elsewhere expect.

#include <cstddef>
#include <cstdint>

typedef int16_t VstInt16;
typedef int32_t VstInt32;
typedef int64_t VstInt64;
typedef intptr_t VstIntPtr;

// Hosts and modules on Linux use the platform's default calling convention.
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

enum AEffectXOpcodes
{
    effProcessEvents = effSetChunk + 1,
    effCanBeAutomated,
    effString2Parameter,
    effGetNumProgramCategories,             // deprecated
    effGetProgramNameIndexed,
    effCopyProgram,                         // deprecated
    effConnectInput,                        // deprecated
    effConnectOutput,                       // deprecated
    effGetInputProperties,
    effGetOutputProperties,
    effGetPlugCategory,
    effGetCurrentPosition,                  // deprecated
    effGetDestinationBuffer,                // deprecated
    effOfflineNotify,
    effOfflinePrepare,
    effOfflineRun,
    effProcessVarIo,
    effSetSpeakerArrangement,
    effSetBlockSizeAndSampleRate,           // deprecated
    effSetBypass,
    effGetEffectName,
    effGetErrorText,                        // deprecated
    effGetVendorString,
    effGetProductString,
    effGetVendorVersion,
    effVendorSpecific,
    effCanDo,
    effGetTailSize,
    effIdle,                                // deprecated
    effGetIcon,                             // deprecated
    effSetViewPosition,                     // deprecated
    effGetParameterProperties,
    effKeysRequired,                        // deprecated
    effGetVstVersion,
    effEditKeyDown,
    effEditKeyUp,
    effSetEditKnobMode,
    effGetMidiProgramName,
    effGetCurrentMidiProgram,
    effGetMidiProgramCategory,
    effHasMidiProgramsChanged,
    effGetMidiKeyName,
    effBeginSetProgram,
    effEndSetProgram,
    effGetSpeakerArrangement,
    effShellGetNextPlugin,
    effStartProcess,
    effStopProcess,
    effSetTotalSampleToProcess,
    effSetPanLaw,
    effBeginLoadBank,
    effBeginLoadProgram,
    effSetProcessPrecision,
    effGetNumMidiInputChannels,
    effGetNumMidiOutputChannels
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

enum AudioMasterOpcodesX
{
    audioMasterWantMidi = audioMasterPinConnected + 2,    // deprecated
    audioMasterGetTime,
    audioMasterProcessEvents,
    audioMasterSetTime,                     // deprecated
    audioMasterTempoAt,                     // deprecated
    audioMasterGetNumAutomatableParameters, // deprecated
    audioMasterGetParameterQuantization,    // deprecated
    audioMasterIOChanged,
    audioMasterNeedIdle,                    // deprecated
    audioMasterSizeWindow,
    audioMasterGetSampleRate,
    audioMasterGetBlockSize,
    audioMasterGetInputLatency,
    audioMasterGetOutputLatency,
    audioMasterGetPreviousPlug,             // deprecated
    audioMasterGetNextPlug,                 // deprecated
    audioMasterWillReplaceOrAccumulate,     // deprecated
    audioMasterGetCurrentProcessLevel,
    audioMasterGetAutomationState,
    audioMasterOfflineStart,
    audioMasterOfflineRead,
    audioMasterOfflineWrite,
    audioMasterOfflineGetCurrentPass,
    audioMasterOfflineGetCurrentMetaPass,
    audioMasterSetOutputSampleRate,         // deprecated
    audioMasterGetOutputSpeakerArrangement, // deprecated
    audioMasterGetVendorString,
    audioMasterGetProductString,
    audioMasterGetVendorVersion,
    audioMasterVendorSpecific,
    audioMasterSetIcon,                     // deprecated
    audioMasterCanDo,
    audioMasterGetLanguage,
    audioMasterOpenWindow,                  // deprecated
    audioMasterCloseWindow,                 // deprecated
    audioMasterGetDirectory,
    audioMasterUpdateDisplay,
    audioMasterBeginEdit,
    audioMasterEndEdit,
    audioMasterOpenFileSelector,
    audioMasterCloseFileSelector,
    audioMasterEditFile,                    // deprecated
    audioMasterGetChunkFile,                // deprecated
    audioMasterGetInputSpeakerArrangement   // deprecated
};

// Sizes of the text buffers passed through the dispatcher, without the terminator.
enum VstStringConstants
{
    kVstMaxProgNameLen = 24,
    kVstMaxParamStrLen = 8,
    kVstMaxVendorStrLen = 64,
    kVstMaxProductStrLen = 64,
    kVstMaxEffectNameLen = 32,
    kVstMaxNameLen = 64,
    kVstMaxLabelLen = 64,
    kVstMaxShortLabelLen = 8,
    kVstMaxCategLabelLen = 24,
    kVstMaxFileNameLen = 100
};

// Answer to effGetPlugCategory.
enum VstPlugCategory
{
    kPlugCategUnknown = 0,
    kPlugCategEffect,
    kPlugCategSynth,
    kPlugCategAnalysis,
    kPlugCategMastering,
    kPlugCategSpacializer,
    kPlugCategRoomFx,
    kPlugSurroundFx,
    kPlugCategRestoration,
    kPlugCategOfflineProcess,
    kPlugCategShell,
    kPlugCategGenerator,
    kPlugCategMaxCount
};

// Answer to audioMasterGetCurrentProcessLevel.
enum VstProcessLevels
{
    kVstProcessLevelUnknown = 0,
    kVstProcessLevelUser,
    kVstProcessLevelRealtime,
    kVstProcessLevelPrefetch,
    kVstProcessLevelOffline
};

// Value of effSetProcessPrecision.
enum VstProcessPrecision
{
    kVstProcessPrecision32 = 0,
    kVstProcessPrecision64
};

// Editor rectangle in pixels, as answered to effEditGetRect.
struct ERect
{
    VstInt16 top;
    VstInt16 left;
    VstInt16 bottom;
    VstInt16 right;
};
static_assert(sizeof(ERect) == 8, "ERect size");

// Keys passed with effEditKeyDown / effEditKeyUp: index is the character,
// value the virtual key, opt the modifiers.
struct VstKeyCode
{
    VstInt32 character;
    unsigned char virt;                     // VstVirtualKey
    unsigned char modifier;                 // VstModifierKey bits
};

enum VstVirtualKey
{
    VKEY_BACK = 1,
    VKEY_TAB,
    VKEY_CLEAR,
    VKEY_RETURN,
    VKEY_PAUSE,
    VKEY_ESCAPE,
    VKEY_SPACE,
    VKEY_NEXT,
    VKEY_END,
    VKEY_HOME,
    VKEY_LEFT,
    VKEY_UP,
    VKEY_RIGHT,
    VKEY_DOWN,
    VKEY_PAGEUP,
    VKEY_PAGEDOWN,
    VKEY_SELECT,
    VKEY_PRINT,
    VKEY_ENTER,
    VKEY_SNAPSHOT,
    VKEY_INSERT,
    VKEY_DELETE,
    VKEY_HELP,
    VKEY_NUMPAD0,
    VKEY_NUMPAD1,
    VKEY_NUMPAD2,
    VKEY_NUMPAD3,
    VKEY_NUMPAD4,
    VKEY_NUMPAD5,
    VKEY_NUMPAD6,
    VKEY_NUMPAD7,
    VKEY_NUMPAD8,
    VKEY_NUMPAD9,
    VKEY_MULTIPLY,
    VKEY_ADD,
    VKEY_SEPARATOR,
    VKEY_SUBTRACT,
    VKEY_DECIMAL,
    VKEY_DIVIDE,
    VKEY_F1,
    VKEY_F2,
    VKEY_F3,
    VKEY_F4,
    VKEY_F5,
    VKEY_F6,
    VKEY_F7,
    VKEY_F8,
    VKEY_F9,
    VKEY_F10,
    VKEY_F11,
    VKEY_F12,
    VKEY_NUMLOCK,
    VKEY_SCROLL,
    VKEY_SHIFT,
    VKEY_CONTROL,
    VKEY_ALT,
    VKEY_EQUALS
};

enum VstModifierKey
{
    MODIFIER_SHIFT = 1 << 0,
    MODIFIER_ALTERNATE = 1 << 1,
    MODIFIER_COMMAND = 1 << 2,
    MODIFIER_CONTROL = 1 << 3
};

// Events passed with effProcessEvents and audioMasterProcessEvents.
enum VstEventTypes
{
    kVstMidiType = 1,
    kVstSysExType = 6
};

struct VstEvent
{
    VstInt32 type;
    VstInt32 byteSize;                      // of the record after these two fields
    VstInt32 deltaFrames;
    VstInt32 flags;
    char data[16];
};

struct VstEvents
{
    VstInt32 numEvents;
    VstIntPtr reserved;
    VstEvent* events[2];                    // numEvents entries in practice
};

struct VstMidiEvent
{
    VstInt32 type;
    VstInt32 byteSize;
    VstInt32 deltaFrames;
    VstInt32 flags;
    VstInt32 noteLength;
    VstInt32 noteOffset;
    char midiData[4];
    char detune;
    char noteOffVelocity;
    char reserved1;
    char reserved2;
};
static_assert(sizeof(VstMidiEvent) == 32, "VstMidiEvent size");

// Answer to audioMasterGetTime.
enum VstTimeInfoFlags
{
    kVstTransportChanged = 1,
    kVstTransportPlaying = 1 << 1,
    kVstTransportCycleActive = 1 << 2,
    kVstTransportRecording = 1 << 3,
    kVstAutomationWriting = 1 << 6,
    kVstAutomationReading = 1 << 7,
    kVstNanosValid = 1 << 8,
    kVstPpqPosValid = 1 << 9,
    kVstTempoValid = 1 << 10,
    kVstBarsValid = 1 << 11,
    kVstCyclePosValid = 1 << 12,
    kVstTimeSigValid = 1 << 13,
    kVstSmpteValid = 1 << 14,
    kVstClockValid = 1 << 15
};

struct VstTimeInfo
{
    double samplePos;
    double sampleRate;
    double nanoSeconds;
    double ppqPos;
    double tempo;
    double barStartPos;
    double cycleStartPos;
    double cycleEndPos;
    VstInt32 timeSigNumerator;
    VstInt32 timeSigDenominator;
    VstInt32 smpteOffset;
    VstInt32 smpteFrameRate;
    VstInt32 samplesToNextClock;
    VstInt32 flags;
};
static_assert(sizeof(VstTimeInfo) == 88, "VstTimeInfo size");

// Answer to effGetInputProperties / effGetOutputProperties.
enum VstPinPropertiesFlags
{
    kVstPinIsActive = 1 << 0,
    kVstPinIsStereo = 1 << 1,
    kVstPinUseSpeaker = 1 << 2
};

struct VstPinProperties
{
    char label[kVstMaxLabelLen];
    VstInt32 flags;
    VstInt32 arrangementType;
    char shortLabel[kVstMaxShortLabelLen];
    char future[48];
};
static_assert(sizeof(VstPinProperties) == 128, "VstPinProperties size");

// Answer to effGetParameterProperties.
enum VstParameterFlags
{
    kVstParameterIsSwitch = 1 << 0,
    kVstParameterUsesIntegerMinMax = 1 << 1,
    kVstParameterUsesFloatStep = 1 << 2,
    kVstParameterUsesIntStep = 1 << 3,
    kVstParameterSupportsDisplayIndex = 1 << 4,
    kVstParameterSupportsDisplayCategory = 1 << 5,
    kVstParameterCanRamp = 1 << 6
};

struct VstParameterProperties
{
    float stepFloat;
    float smallStepFloat;
    float largeStepFloat;
    char label[kVstMaxLabelLen];
    VstInt32 flags;
    VstInt32 minInteger;
    VstInt32 maxInteger;
    VstInt32 stepInteger;
    VstInt32 largeStepInteger;
    char shortLabel[kVstMaxShortLabelLen];
    VstInt16 displayIndex;
    VstInt16 category;
    VstInt16 numParametersInCategory;
    VstInt16 reserved;
    char categoryLabel[kVstMaxCategLabelLen];
    char future[16];
};

// The module's exported entry point.
typedef AEffect* (*VstPluginMainProc)(audioMasterCallback audioMaster);
