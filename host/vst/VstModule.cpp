#include "VstModule.h"

#include <cstring>
#include <stdexcept>

namespace
{
// The instance whose entry point is running: its effect calls back before
// the host has had the AEffect to mark it as ours.
thread_local VstModule* instanceBeingCreated = nullptr;

// Effects write at most 64 characters into the buffers of the interface;
// the extra room shows overruns instead of corrupting memory.
constexpr std::size_t textBufferSize = 512;

void copyHostText(void* destination, const char* text, std::size_t maxChars)
{
    char* out = static_cast<char*>(destination);
    std::size_t length = std::strlen(text);
    if (length > maxChars)
    {
        length = maxChars;
    }
    std::memcpy(out, text, length);
    out[length] = '\0';
}
}

VstModule::VstModule(const std::string& path)
    : modulePath(path), library(std::make_unique<SharedLibrary>(path)), aeffect(nullptr), hostSampleRate(44100.0f),
      hostBlockSize(1024)
{
    void* entry = library->symbol("VSTPluginMain");
    if (!entry)
    {
        entry = library->symbol("main");
    }
    if (!entry)
    {
        throw std::runtime_error(path + " is not a VST 2 plug-in: it exports neither VSTPluginMain nor main");
    }
    VstPluginMainProc pluginMain = reinterpret_cast<VstPluginMainProc>(entry);
    instanceBeingCreated = this;
    AEffect* created = pluginMain(hostCallback);
    instanceBeingCreated = nullptr;
    if (!created)
    {
        throw std::runtime_error(path + ": the plug-in's entry point created no effect");
    }
    if (created->magic != kEffectMagic)
    {
        throw std::runtime_error(path + " is not a VST 2 plug-in: the effect record has the wrong magic number");
    }
    aeffect = created;
    aeffect->user = this;
}

VstModule::~VstModule()
{
    close();
}

VstIntPtr VstModule::dispatch(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt)
{
    if (!aeffect || !aeffect->dispatcher)
    {
        return 0;
    }
    return aeffect->dispatcher(aeffect, opcode, index, value, ptr, opt);
}

void VstModule::open()
{
    dispatch(effOpen);
}

void VstModule::close()
{
    if (aeffect)
    {
        dispatch(effClose);
        aeffect = nullptr;
    }
}

void VstModule::setSampleRate(float rate)
{
    hostSampleRate = rate;
    dispatch(effSetSampleRate, 0, 0, nullptr, rate);
}

void VstModule::setBlockSize(VstInt32 frames)
{
    hostBlockSize = frames;
    dispatch(effSetBlockSize, 0, frames);
}

void VstModule::resume()
{
    dispatch(effMainsChanged, 0, 1);
}

void VstModule::suspend()
{
    dispatch(effMainsChanged, 0, 0);
}

void VstModule::setParameter(VstInt32 index, float value)
{
    if (aeffect && aeffect->setParameter)
    {
        aeffect->setParameter(aeffect, index, value);
    }
}

float VstModule::getParameter(VstInt32 index)
{
    return aeffect && aeffect->getParameter ? aeffect->getParameter(aeffect, index) : 0.0f;
}

std::string VstModule::parameterName(VstInt32 index)
{
    return readText(effGetParamName, index);
}

std::string VstModule::parameterLabel(VstInt32 index)
{
    return readText(effGetParamLabel, index);
}

std::string VstModule::parameterDisplay(VstInt32 index)
{
    return readText(effGetParamDisplay, index);
}

VstInt32 VstModule::program()
{
    return static_cast<VstInt32>(dispatch(effGetProgram));
}

void VstModule::setProgram(VstInt32 program)
{
    dispatch(effSetProgram, 0, program);
}

std::string VstModule::programName()
{
    return readText(effGetProgramName, 0);
}

void VstModule::setProgramName(const std::string& name)
{
    std::vector<char> text(name.begin(), name.end());
    text.push_back('\0');
    dispatch(effSetProgramName, 0, 0, text.data());
}

std::optional<std::string> VstModule::programNameIndexed(VstInt32 index)
{
    char text[textBufferSize] = {};
    if (dispatch(effGetProgramNameIndexed, index, 0, text) == 0)
    {
        return std::nullopt;
    }
    return std::string(text);
}

std::string VstModule::effectName()
{
    return readText(effGetEffectName, 0);
}

std::string VstModule::vendorString()
{
    return readText(effGetVendorString, 0);
}

std::string VstModule::productString()
{
    return readText(effGetProductString, 0);
}

VstInt32 VstModule::vendorVersion()
{
    return static_cast<VstInt32>(dispatch(effGetVendorVersion));
}

VstInt32 VstModule::vstVersion()
{
    return static_cast<VstInt32>(dispatch(effGetVstVersion));
}

VstInt32 VstModule::plugCategory()
{
    return static_cast<VstInt32>(dispatch(effGetPlugCategory));
}

VstInt32 VstModule::tailSize()
{
    return static_cast<VstInt32>(dispatch(effGetTailSize));
}

VstIntPtr VstModule::canDo(const char* capability)
{
    return dispatch(effCanDo, 0, 0, const_cast<char*>(capability));
}

void VstModule::processReplacing(float** inputs, float** outputs, VstInt32 frames)
{
    if (aeffect && aeffect->processReplacing)
    {
        aeffect->processReplacing(aeffect, inputs, outputs, frames);
    }
}

std::string VstModule::readText(VstInt32 opcode, VstInt32 index, VstIntPtr value)
{
    char text[textBufferSize] = {};
    dispatch(opcode, index, value, text);
    text[textBufferSize - 1] = '\0';
    return std::string(text);
}

VstIntPtr VstModule::hostCallback(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr, void* ptr,
                                  float opt)
{
    VstModule* instance = effect && effect->magic == kEffectMagic && effect->user
                              ? static_cast<VstModule*>(effect->user)
                              : instanceBeingCreated;
    if (opcode == audioMasterVersion)
    {
        return kVstVersion;
    }
    return instance ? instance->answer(opcode, index, ptr, opt) : 0;
}

VstIntPtr VstModule::answer(VstInt32 opcode, VstInt32 index, void* ptr, float opt)
{
    switch (opcode)
    {
    case audioMasterAutomate:
        automations.push_back({index, opt});
        return 0;
    case audioMasterGetSampleRate:
        return static_cast<VstIntPtr>(hostSampleRate);
    case audioMasterGetBlockSize:
        return hostBlockSize;
    case audioMasterGetVendorString:
        if (!ptr)
        {
            return 0;
        }
        copyHostText(ptr, hostVendor, kVstMaxVendorStrLen - 1);
        return 1;
    case audioMasterGetProductString:
        if (!ptr)
        {
            return 0;
        }
        copyHostText(ptr, hostProduct, kVstMaxProductStrLen - 1);
        return 1;
    default:
        return 0;
    }
}
