#include "AudioEffectX.h"

#include "AEffEditor.h"

#include <cmath>

AudioEffectX::AudioEffectX(audioMasterCallback audioMaster, VstInt32 numPrograms, VstInt32 numParams)
    : AudioEffect(audioMaster, numPrograms, numParams)
{
}

VstIntPtr AudioEffectX::dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt)
{
    char* text = static_cast<char*>(ptr);
    switch (opcode)
    {
    case effProcessEvents:
        return ptr ? processEvents(static_cast<VstEvents*>(ptr)) : 0;
    case effCanBeAutomated:
        return isParameterIndex(index) && canParameterBeAutomated(index) ? 1 : 0;
    case effString2Parameter:
        return text && isParameterIndex(index) && string2parameter(index, text) ? 1 : 0;
    case effGetProgramNameIndexed:
        if (!text)
        {
            return 0;
        }
        text[0] = '\0';
        return isProgramIndex(index) && getProgramNameIndexed(static_cast<VstInt32>(value), index, text) ? 1 : 0;
    case effGetInputProperties:
        return ptr && index >= 0 && index < cEffect.numInputs
                       && getInputProperties(index, static_cast<VstPinProperties*>(ptr))
                   ? 1
                   : 0;
    case effGetOutputProperties:
        return ptr && index >= 0 && index < cEffect.numOutputs
                       && getOutputProperties(index, static_cast<VstPinProperties*>(ptr))
                   ? 1
                   : 0;
    case effGetPlugCategory:
        return getPlugCategory();
    case effSetBypass:
        return setBypass(value != 0) ? 1 : 0;
    case effGetEffectName:
    case effGetVendorString:
    case effGetProductString:
        if (!text)
        {
            return 0;
        }
        text[0] = '\0';
        if (opcode == effGetEffectName)
        {
            return getEffectName(text) ? 1 : 0;
        }
        if (opcode == effGetVendorString)
        {
            return getVendorString(text) ? 1 : 0;
        }
        return getProductString(text) ? 1 : 0;
    case effGetVendorVersion:
        return getVendorVersion();
    case effVendorSpecific:
        return vendorSpecific(index, value, ptr, opt);
    case effCanDo:
        return canDo(text);
    case effGetTailSize:
        return getGetTailSize();
    case effGetParameterProperties:
        return ptr && isParameterIndex(index)
                       && getParameterProperties(index, static_cast<VstParameterProperties*>(ptr))
                   ? 1
                   : 0;
    case effGetVstVersion:
        return getVstVersion();
    case effEditKeyDown:
    case effEditKeyUp:
    {
        if (!editor)
        {
            return 0;
        }
        VstKeyCode key{index, 0, 0};
        if (value > 0 && value <= 255)
        {
            key.virt = static_cast<unsigned char>(value);
        }
        if (std::isfinite(opt) && opt > 0.0f && opt <= 255.0f)
        {
            key.modifier = static_cast<unsigned char>(opt);
        }
        return (opcode == effEditKeyDown ? editor->onKeyDown(key) : editor->onKeyUp(key)) ? 1 : 0;
    }
    case effSetEditKnobMode:
        return editor && editor->setKnobMode(static_cast<VstInt32>(value)) ? 1 : 0;
    case effBeginSetProgram:
        return beginSetProgram() ? 1 : 0;
    case effEndSetProgram:
        return endSetProgram() ? 1 : 0;
    case effStartProcess:
        return startProcess();
    case effStopProcess:
        return stopProcess();
    case effSetProcessPrecision:
        return setProcessPrecision(static_cast<VstInt32>(value)) ? 1 : 0;
    case effGetNumMidiInputChannels:
        return getNumMidiInputChannels();
    case effGetNumMidiOutputChannels:
        return getNumMidiOutputChannels();
    case effSetTotalSampleToProcess:
        return setTotalSampleToProcess(static_cast<VstInt32>(value));
    case effSetPanLaw:
        return setPanLaw(static_cast<VstInt32>(value), opt) ? 1 : 0;
    case effBeginLoadBank:
        return ptr ? beginLoadBank(ptr) : 0;
    case effBeginLoadProgram:
        return ptr ? beginLoadProgram(ptr) : 0;
    default:
        return AudioEffect::dispatcher(opcode, index, value, ptr, opt);
    }
}

VstInt32 AudioEffectX::processEvents(VstEvents*)
{
    return 0;
}

bool AudioEffectX::canParameterBeAutomated(VstInt32)
{
    return true;
}

bool AudioEffectX::string2parameter(VstInt32, char*)
{
    return false;
}

bool AudioEffectX::getParameterProperties(VstInt32, VstParameterProperties*)
{
    return false;
}

bool AudioEffectX::getProgramNameIndexed(VstInt32, VstInt32, char*)
{
    return false;
}

bool AudioEffectX::getInputProperties(VstInt32, VstPinProperties*)
{
    return false;
}

bool AudioEffectX::getOutputProperties(VstInt32, VstPinProperties*)
{
    return false;
}

VstPlugCategory AudioEffectX::getPlugCategory()
{
    return kPlugCategUnknown;
}

bool AudioEffectX::setBypass(bool)
{
    return false;
}

bool AudioEffectX::getEffectName(char*)
{
    return false;
}

bool AudioEffectX::getVendorString(char*)
{
    return false;
}

bool AudioEffectX::getProductString(char*)
{
    return false;
}

VstInt32 AudioEffectX::getVendorVersion()
{
    return 0;
}

VstIntPtr AudioEffectX::vendorSpecific(VstInt32, VstIntPtr, void*, float)
{
    return 0;
}

VstInt32 AudioEffectX::canDo(char*)
{
    return 0;
}

VstInt32 AudioEffectX::getGetTailSize()
{
    return 0;
}

VstInt32 AudioEffectX::getVstVersion()
{
    return kVstVersion;
}

bool AudioEffectX::beginSetProgram()
{
    return false;
}

bool AudioEffectX::endSetProgram()
{
    return false;
}

VstInt32 AudioEffectX::startProcess()
{
    return 0;
}

VstInt32 AudioEffectX::stopProcess()
{
    return 0;
}

bool AudioEffectX::setProcessPrecision(VstInt32)
{
    return false;
}

VstInt32 AudioEffectX::getNumMidiInputChannels()
{
    return 0;
}

VstInt32 AudioEffectX::getNumMidiOutputChannels()
{
    return 0;
}

VstInt32 AudioEffectX::setTotalSampleToProcess(VstInt32 value)
{
    return value;
}

bool AudioEffectX::setPanLaw(VstInt32, float)
{
    return false;
}

VstInt32 AudioEffectX::beginLoadBank(void*)
{
    return 0;
}

VstInt32 AudioEffectX::beginLoadProgram(void*)
{
    return 0;
}

void AudioEffectX::noTail(bool state)
{
    setFlag(effFlagsNoSoundInStop, state);
}

bool AudioEffectX::beginEdit(VstInt32 index)
{
    return callHost(audioMasterBeginEdit, index, 0);
}

bool AudioEffectX::endEdit(VstInt32 index)
{
    return callHost(audioMasterEndEdit, index, 0);
}

bool AudioEffectX::callHost(VstInt32 opcode, VstInt32 index, VstIntPtr value)
{
    return audioMaster && audioMaster(&cEffect, opcode, index, value, nullptr, 0.0f) != 0;
}
