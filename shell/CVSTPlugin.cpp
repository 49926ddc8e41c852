#include "CVSTPlugin.h"

#include <cmath>
#include <cstdio>
#include <cstring>

CVSTPlugin::CVSTPlugin(audioMasterCallback audioMaster, int numInputs, int numOutputs, int numPrograms,
                       int numParams)
    : AudioEffectX(audioMaster, numPrograms, numParams), config(new CVSTConfig(numPrograms, numParams))
{
    config->numInputs = numInputs;
    config->numOutputs = numOutputs;
}

CVSTPlugin::~CVSTPlugin() = default;

void CVSTPlugin::setParameter(VstInt32 index, float value)
{
    CVSTConfig::Program* program = currentProgram();
    if (program && config->isParameter(index) && std::isfinite(value))
    {
        program->values[index].store(value, std::memory_order_relaxed);
    }
}

float CVSTPlugin::getParameter(VstInt32 index)
{
    CVSTConfig::Program* program = currentProgram();
    if (!program || !config->isParameter(index))
    {
        return 0.0f;
    }
    return program->values[index].load(std::memory_order_relaxed);
}

void CVSTPlugin::setProgram(VstInt32 program)
{
    if (!config->isProgram(program))
    {
        return;
    }
    curProgram.store(program, std::memory_order_relaxed);
    for (int j = 0; j < config->numParams; ++j)
    {
        setParameter(j, config->programs[program].values[j].load(std::memory_order_relaxed));
    }
}

void CVSTPlugin::setProgramName(char* name)
{
    CVSTConfig::Program* program = currentProgram();
    if (program && name)
    {
        vst_strncpy(program->name, name, CVSTConfig::programNameLength);
    }
}

void CVSTPlugin::getProgramName(char* name)
{
    CVSTConfig::Program* program = currentProgram();
    vst_strncpy(name, program ? program->name : "", CVSTConfig::programNameLength);
}

bool CVSTPlugin::getProgramNameIndexed(VstInt32, VstInt32 index, char* text)
{
    if (!text || !config->isProgram(index))
    {
        return false;
    }
    vst_strncpy(text, config->programs[index].name, CVSTConfig::programNameLength);
    return true;
}

void CVSTPlugin::getParameterName(VstInt32 index, char* text)
{
    if (text && config->isParameter(index))
    {
        vst_strncpy(text, config->parameters[index].name, CVSTConfig::parameterTextLength);
    }
}

void CVSTPlugin::getParameterLabel(VstInt32 index, char* text)
{
    if (text && config->isParameter(index))
    {
        vst_strncpy(text, config->parameters[index].label, CVSTConfig::parameterTextLength);
    }
}

void CVSTPlugin::getParameterDisplay(VstInt32 index, char* text)
{
    if (text && config->isParameter(index))
    {
        // The formats are the effect's own table, never the host's text.
        std::snprintf(text, CVSTConfig::parameterTextLength + 1, config->parameters[index].format,
                      static_cast<double>(getPlainValue(index)));
    }
}

bool CVSTPlugin::getEffectName(char* name)
{
    if (!name)
    {
        return false;
    }
    vst_strncpy(name, config->effectName, kVstMaxEffectNameLen);
    return true;
}

bool CVSTPlugin::getProductString(char* text)
{
    if (!text)
    {
        return false;
    }
    vst_strncpy(text, config->product, kVstMaxProductStrLen);
    return true;
}

bool CVSTPlugin::getVendorString(char* text)
{
    if (!text)
    {
        return false;
    }
    vst_strncpy(text, config->vendor, kVstMaxVendorStrLen);
    return true;
}

VstInt32 CVSTPlugin::getVendorVersion()
{
    return config->vendorVersion;
}

VstPlugCategory CVSTPlugin::getPlugCategory()
{
    return static_cast<VstPlugCategory>(config->plugCategory);
}

VstInt32 CVSTPlugin::getGetTailSize()
{
    return config->tailSize;
}

VstInt32 CVSTPlugin::canDo(char* text)
{
    return config->canDo(text);
}

float CVSTPlugin::getPlainValue(VstInt32 index)
{
    return config->toPlain(index, getParameter(index));
}

void CVSTPlugin::getParameterText(VstInt32 index, char* text)
{
    if (!text)
    {
        return;
    }
    text[0] = '\0';
    if (!config->isParameter(index))
    {
        return;
    }
    char display[CVSTConfig::parameterTextLength + 1];
    getParameterDisplay(index, display);
    std::snprintf(text, parameterTextSize, "%s%s", display, config->parameters[index].label);
}

CVSTConfig::Program* CVSTPlugin::currentProgram()
{
    const VstInt32 program = curProgram.load(std::memory_order_relaxed);
    return config->isProgram(program) ? &config->programs[program] : nullptr;
}

void CVSTPlugin::initialise()
{
    canProcessReplacing(config->canReplacing);
    setNumInputs(config->numInputs);
    setNumOutputs(config->numOutputs);
    setInitialDelay(config->initialDelay);
    canDoubleReplacing(config->canDoubleReplacing);
    if (config->tailSize == 1)
    {
        noTail(true);
    }
    setUniqueID(config->uniqueID);
    setSampleRate(sampleRate);
    setProgram(0);
    resume();
}
