#include "TestEffect.h"

#include <cstdio>
#include <cstring>

namespace
{
bool isIndex(VstInt32 index)
{
    return index >= 0 && index < kNumParameters;
}
}

TestEffect::TestEffect()
    : AudioEffectX(hostCallback, 1, kNumParameters),
      rmsLevel{0.0f, 0.0f},
      outputPeak{0.0f, 0.0f},
      gainReduction{1.0f, 1.0f},
      saturationGain{1.0f, 1.0f},
      values{}
{
    cEffect.user = this;
    for (int i = 0; i < kNumParameters; ++i)
    {
        values[i] = parameterTable[i].toNormalised(parameterTable[i].defaultValue);
    }
    setEditor(new CMyVSTEditor(this, this));
}

VstIntPtr TestEffect::hostCallback(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr, void*, float opt)
{
    if (opcode == audioMasterVersion)
    {
        return kVstVersion;
    }
    TestEffect* self = effect ? static_cast<TestEffect*>(effect->user) : nullptr;
    if (self && (opcode == audioMasterAutomate || opcode == audioMasterBeginEdit || opcode == audioMasterEndEdit))
    {
        self->hostCalls.push_back({opcode, index, opt});
        return 1;
    }
    return 0;
}

std::vector<TestEffect::HostCall> TestEffect::automations() const
{
    std::vector<HostCall> result;
    for (const HostCall& call : hostCalls)
    {
        if (call.opcode == audioMasterAutomate)
        {
            result.push_back(call);
        }
    }
    return result;
}

void TestEffect::setParameter(VstInt32 index, float value)
{
    if (index >= kNumParameters)
    {
        return;
    }
    if (index >= 0)
    {
        values[index] = value;
    }
    if (editor)
    {
        static_cast<CMyVSTEditor*>(editor)->setParameter(index, value);
    }
}

float TestEffect::getParameter(VstInt32 index)
{
    return isIndex(index) ? values[index] : 0.0f;
}

float TestEffect::getPlainValue(VstInt32 index)
{
    if (!isIndex(index))
    {
        return 0.0f;
    }
    return parameterTable[index].toUnits(values[index]);
}

void TestEffect::getParameterDisplay(VstInt32 index, char* text)
{
    char buffer[64] = {};
    if (isIndex(index))
    {
        std::snprintf(buffer, sizeof buffer, parameterTable[index].format, getPlainValue(index));
    }
    vst_strncpy(text, buffer, kVstMaxParamStrLen);
}

void TestEffect::getParameterLabel(VstInt32 index, char* text)
{
    vst_strncpy(text, isIndex(index) ? parameterTable[index].label : "", kVstMaxParamStrLen);
}

void TestEffect::getParameterText(VstInt32 index, char* text)
{
    char display[kVstMaxParamStrLen + 1] = {};
    char label[kVstMaxParamStrLen + 1] = {};
    getParameterDisplay(index, display);
    getParameterLabel(index, label);
    std::snprintf(text, EditorHost::parameterTextSize, "%s%s", display, label);
}

bool TestEffect::getProductString(char* text)
{
    vst_strncpy(text, "KW_Palisorne", kVstMaxProductStrLen);
    return true;
}

VstInt32 TestEffect::getVendorVersion()
{
    return 2610;
}

void TestEffect::processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames)
{
    for (VstInt32 i = 0; i < sampleFrames; ++i)
    {
        outputs[0][i] = inputs[0][i];
    }
}

float TestEffect::getRmsLevel(int channel)
{
    return channel == 0 || channel == 1 ? rmsLevel[channel] : 0.0f;
}

float TestEffect::getOutputPeak(int channel)
{
    return channel == 0 || channel == 1 ? outputPeak[channel] : 0.0f;
}

float TestEffect::getGainReduction(int channel)
{
    return channel == 0 || channel == 1 ? gainReduction[channel] : 1.0f;
}

float TestEffect::getSaturationGain(int channel)
{
    return channel == 0 || channel == 1 ? saturationGain[channel] : 1.0f;
}
