#include "CVSTConfig.h"

#include "AudioEffect.h"

#include <cstdio>
#include <cstring>

const char* const CVSTConfig::canDoNames[canDoCount] = {
    "plugAsChannelInsert", "plugAsSend", "mixDryWet", "1in1out", "1in2out", "2in1out", "2in2out",
    "sendVstEvents", "sendVstMidiEvent", "receiveVstEvents", "receiveVstMidiEvent", "receiveVstTimeInfo",
    "offline", "noRealTime", "midiProgramNames", "bypass",
};

namespace
{
// The routing capabilities come first; everything after them is declined.
constexpr int routingCanDoCount = 7;

float normalise(float value, float minimum, float maximum)
{
    return maximum != minimum ? (value - minimum) / (maximum - minimum) : 0.0f;
}
}

CVSTConfig::CVSTConfig(int programCount, int parameterCount)
    : vendorVersion(2610),
      uniqueID(vstFourCharCode('K', 'W', 'V', 'P')),
      numInputs(2),
      numOutputs(2),
      canReplacing(true),
      canDoubleReplacing(false),
      tailSize(0),
      initialDelay(0),
      plugCategory(kPlugCategEffect),
      numParams(parameterCount > 0 ? parameterCount : 0),
      numPrograms(programCount > 0 ? programCount : 0),
      programs(new Program[numPrograms]),
      parameters(new Parameter[numParams])
{
    setVendorString("Virelmatt");
    setEffectName("VSTPlugin");
    setProductString("VSTPlugin");
    for (int i = 0; i < canDoCount; ++i)
    {
        canDoAnswer[i] = i < routingCanDoCount ? 1 : -1;
    }
    for (int j = 0; j < numParams; ++j)
    {
        Parameter& parameter = parameters[j];
        char text[32];
        std::snprintf(text, sizeof text, "Par %1d", j);
        vst_strncpy(parameter.name, text, parameterTextLength);
        std::snprintf(text, sizeof text, "Lab %1d", j);
        vst_strncpy(parameter.label, text, parameterTextLength);
        vst_strncpy(parameter.format, "%3.2f", parameterTextLength);
        parameter.minimum = 0.0f;
        parameter.maximum = 1.0f;
        parameter.defaultValue = 0.5f;
    }
    for (int i = 0; i < numPrograms; ++i)
    {
        Program& program = programs[i];
        std::snprintf(program.name, sizeof program.name, i < 10 ? "Program 0%1d" : "Program %1d", i);
        program.values.reset(new std::atomic<float>[numParams]);
        for (int j = 0; j < numParams; ++j)
        {
            program.values[j].store(0.5f, std::memory_order_relaxed);
        }
    }
}

CVSTConfig::~CVSTConfig() = default;

void CVSTConfig::defineParameter(int index, const char* name, const char* label, float minimum, float maximum,
                                 float defaultValue, const char* format)
{
    if (!isParameter(index))
    {
        return;
    }
    Parameter& parameter = parameters[index];
    vst_strncpy(parameter.name, name, parameterTextLength);
    vst_strncpy(parameter.label, label, parameterTextLength);
    vst_strncpy(parameter.format, format, parameterTextLength);
    parameter.minimum = minimum;
    parameter.maximum = maximum;
    parameter.defaultValue = normalise(defaultValue, minimum, maximum);
    for (int i = 0; i < numPrograms; ++i)
    {
        programs[i].values[index].store(parameter.defaultValue, std::memory_order_relaxed);
    }
}

void CVSTConfig::defineProgram(int index, const char* name, const float* values)
{
    if (!isProgram(index) || !values)
    {
        return;
    }
    Program& program = programs[index];
    vst_strncpy(program.name, name, programNameLength);
    for (int j = 0; j < numParams; ++j)
    {
        const Parameter& parameter = parameters[j];
        program.values[j].store(normalise(values[j], parameter.minimum, parameter.maximum),
                                std::memory_order_relaxed);
    }
}

void CVSTConfig::setVendorString(const char* text)
{
    vst_strncpy(vendor, text, kVstMaxVendorStrLen);
}

void CVSTConfig::setEffectName(const char* text)
{
    vst_strncpy(effectName, text, kVstMaxEffectNameLen);
}

void CVSTConfig::setProductString(const char* text)
{
    vst_strncpy(product, text, kVstMaxProductStrLen);
}

VstInt32 CVSTConfig::canDo(const char* capability) const
{
    if (!capability)
    {
        return -1;
    }
    for (int i = 0; i < canDoCount; ++i)
    {
        if (std::strcmp(capability, canDoNames[i]) == 0)
        {
            return canDoAnswer[i];
        }
    }
    return -1;
}

float CVSTConfig::toPlain(int parameter, float normalised) const
{
    if (!isParameter(parameter))
    {
        return 0.0f;
    }
    const Parameter& descriptor = parameters[parameter];
    return descriptor.minimum + normalised * (descriptor.maximum - descriptor.minimum);
}
