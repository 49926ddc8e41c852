#include "AudioEffect.h"

#include "AEffEditor.h"

#include <cmath>
#include <cstdint>
#include <cstring>

void vst_strncpy(char* dest, const char* source, std::size_t maxChars)
{
    if (!dest)
    {
        return;
    }
    std::size_t length = 0;
    if (source)
    {
        while (length < maxChars && source[length] != '\0')
        {
            ++length;
        }
        std::memcpy(dest, source, length);
    }
    dest[length] = '\0';
}

AudioEffect::AudioEffect(audioMasterCallback audioMaster, VstInt32 numPrograms, VstInt32 numParams)
    : audioMaster(audioMaster),
      editor(nullptr),
      sampleRate(44100.0f),
      numPrograms(numPrograms > 0 ? numPrograms : 0),
      numParams(numParams > 0 ? numParams : 0),
      curProgram(0),
      cEffect()
{
    cEffect.magic = kEffectMagic;
    cEffect.dispatcher = dispatchEffectClass;
    cEffect.process = accumulateClass;
    cEffect.setParameter = setParameterClass;
    cEffect.getParameter = getParameterClass;
    cEffect.numPrograms = this->numPrograms;
    cEffect.numParams = this->numParams;
    cEffect.numInputs = 1;
    cEffect.numOutputs = 2;
    cEffect.flags = 0;
    cEffect.ioRatio = 1.0f;
    cEffect.object = this;
    cEffect.uniqueID = vstFourCharCode('N', 'o', 'E', 'f');
    cEffect.version = 1;
    cEffect.processReplacing = processReplacingClass;
    cEffect.processDoubleReplacing = processDoubleReplacingClass;
}

AudioEffect::~AudioEffect()
{
    delete editor;
}

VstIntPtr AudioEffect::dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt)
{
    char* text = static_cast<char*>(ptr);
    switch (opcode)
    {
    case effOpen:
        open();
        return 0;
    case effClose:
        close();
        return 0;
    case effSetProgram:
        if (isProgramIndex(value))
        {
            setProgram(static_cast<VstInt32>(value));
        }
        return 0;
    case effGetProgram:
        return getProgram();
    case effSetProgramName:
        if (text)
        {
            setProgramName(text);
        }
        return 0;
    case effGetProgramName:
        if (text)
        {
            text[0] = '\0';
            getProgramName(text);
        }
        return 0;
    case effGetParamLabel:
    case effGetParamDisplay:
    case effGetParamName:
        // A parameter the effect does not have leaves the host's buffer as
        // it was; one it has gets an empty text rather than whatever the
        // buffer held, should the effect write nothing.
        if (!text || !isParameterIndex(index))
        {
            return 0;
        }
        text[0] = '\0';
        if (opcode == effGetParamLabel)
        {
            getParameterLabel(index, text);
        }
        else if (opcode == effGetParamDisplay)
        {
            getParameterDisplay(index, text);
        }
        else
        {
            getParameterName(index, text);
        }
        return 0;
    case effSetSampleRate:
        if (std::isfinite(opt) && opt > 0.0f)
        {
            setSampleRate(opt);
        }
        return 0;
    case effSetBlockSize:
        if (value > 0 && value <= INT32_MAX)
        {
            setBlockSize(static_cast<VstInt32>(value));
        }
        return 0;
    case effMainsChanged:
        if (value)
        {
            resume();
        }
        else
        {
            suspend();
        }
        return 0;
    case effEditGetRect:
        if (!ptr)
        {
            return 0;
        }
        *static_cast<ERect**>(ptr) = nullptr;
        return editor && editor->getRect(static_cast<ERect**>(ptr)) ? 1 : 0;
    case effEditOpen:
        return editor && ptr && editor->open(ptr) ? 1 : 0;
    case effEditClose:
        if (editor)
        {
            editor->close();
        }
        return 0;
    case effEditIdle:
        if (editor)
        {
            editor->idle();
        }
        return 0;
    case effIdentify:
        // Very old hosts check this answer before using the effect.
        return vstFourCharCode('N', 'v', 'E', 'f');
    case effGetChunk:
        return ptr ? getChunk(static_cast<void**>(ptr), index != 0) : 0;
    case effSetChunk:
        return ptr && value > 0 && value <= INT32_MAX
                   ? setChunk(ptr, static_cast<VstInt32>(value), index != 0)
                   : 0;
    default:
        return 0;
    }
}

void AudioEffect::setParameter(VstInt32, float)
{
}

float AudioEffect::getParameter(VstInt32)
{
    return 0.0f;
}

void AudioEffect::setParameterAutomated(VstInt32 index, float value)
{
    setParameter(index, value);
    if (audioMaster)
    {
        audioMaster(&cEffect, audioMasterAutomate, index, 0, nullptr, value);
    }
}

void AudioEffect::setProgram(VstInt32 program)
{
    if (isProgramIndex(program))
    {
        curProgram.store(program, std::memory_order_relaxed);
    }
}

void AudioEffect::setProgramName(char*)
{
}

void AudioEffect::getProgramName(char* name)
{
    vst_strncpy(name, "", kVstMaxProgNameLen);
}

void AudioEffect::getParameterLabel(VstInt32, char* label)
{
    vst_strncpy(label, "", kVstMaxParamStrLen);
}

void AudioEffect::getParameterDisplay(VstInt32, char* text)
{
    vst_strncpy(text, "", kVstMaxParamStrLen);
}

void AudioEffect::getParameterName(VstInt32, char* text)
{
    vst_strncpy(text, "", kVstMaxParamStrLen);
}

VstInt32 AudioEffect::getChunk(void**, bool)
{
    return 0;
}

VstInt32 AudioEffect::setChunk(void*, VstInt32, bool)
{
    return 0;
}

void AudioEffect::processDoubleReplacing(double**, double**, VstInt32)
{
}

void AudioEffect::canProcessReplacing(bool state)
{
    setFlag(effFlagsCanReplacing, state);
}

void AudioEffect::canDoubleReplacing(bool state)
{
    setFlag(effFlagsCanDoubleReplacing, state);
}

void AudioEffect::programsAreChunks(bool state)
{
    setFlag(effFlagsProgramChunks, state);
}

void AudioEffect::setEditor(AEffEditor* newEditor)
{
    if (newEditor != editor)
    {
        delete editor;
        editor = newEditor;
    }
    setFlag(effFlagsHasEditor, editor != nullptr);
}

void AudioEffect::setFlag(VstInt32 flag, bool state)
{
    if (state)
    {
        cEffect.flags |= flag;
    }
    else
    {
        cEffect.flags &= ~flag;
    }
}

VstIntPtr AudioEffect::dispatchEffectClass(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value,
                                           void* ptr, float opt)
{
    AudioEffect* object = effect ? static_cast<AudioEffect*>(effect->object) : nullptr;
    if (!object)
    {
        return 0;
    }
    if (opcode == effClose)
    {
        object->dispatcher(opcode, index, value, ptr, opt);
        delete object;
        return 1;
    }
    return object->dispatcher(opcode, index, value, ptr, opt);
}

// The old accumulating call: adding nothing leaves the host's buffers as they
// are, which is safe for a host that still calls it.
void AudioEffect::accumulateClass(AEffect*, float**, float**, VstInt32)
{
}

void AudioEffect::processReplacingClass(AEffect* effect, float** inputs, float** outputs, VstInt32 sampleFrames)
{
    AudioEffect* object = effect ? static_cast<AudioEffect*>(effect->object) : nullptr;
    if (object)
    {
        object->processReplacing(inputs, outputs, sampleFrames);
    }
}

void AudioEffect::processDoubleReplacingClass(AEffect* effect, double** inputs, double** outputs,
                                              VstInt32 sampleFrames)
{
    AudioEffect* object = effect ? static_cast<AudioEffect*>(effect->object) : nullptr;
    if (object)
    {
        object->processDoubleReplacing(inputs, outputs, sampleFrames);
    }
}

void AudioEffect::setParameterClass(AEffect* effect, VstInt32 index, float value)
{
    AudioEffect* object = effect ? static_cast<AudioEffect*>(effect->object) : nullptr;
    if (object)
    {
        object->setParameter(index, value);
    }
}

float AudioEffect::getParameterClass(AEffect* effect, VstInt32 index)
{
    AudioEffect* object = effect ? static_cast<AudioEffect*>(effect->object) : nullptr;
    return object ? object->getParameter(index) : 0.0f;
}
