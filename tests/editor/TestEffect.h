#pragma once

#include "CMyVSTEditor.h"
#include "CMyVSTPlugin.h"

#include <vector>

// The plug-in with meter readings the test sets and a host callback that
// records what the effect tells the host. Its CMyVSTEditor is reached through
// the SDK's dispatcher, as a host does.
class TestEffect : public CMyVSTPlugin
{
public:
    struct HostCall
    {
        VstInt32 opcode;
        VstInt32 index;
        float value;
    };

    TestEffect() : CMyVSTPlugin(hostCallback, 2, 2, kNumPrograms, kNumParameters) { cEffect.user = this; }

    float getRmsLevel(int channel) override { return rmsLevel[channel]; }
    float getOutputPeak(int channel) override { return outputPeak[channel]; }
    float getGainReduction(int channel) override { return gainReduction[channel]; }
    float getSaturationGain(int channel) override { return saturationGain[channel]; }

    CMyVSTEditor* getEditorObject() { return static_cast<CMyVSTEditor*>(editor); }
    VstIntPtr dispatch(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0, void* ptr = nullptr)
    {
        return dispatcher(opcode, index, value, ptr, 0.0f);
    }
    std::vector<HostCall> automations() const
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

    // Readings the meter getters return, per channel.
    float rmsLevel[2] = {0.0f, 0.0f};
    float outputPeak[2] = {0.0f, 0.0f};
    float gainReduction[2] = {1.0f, 1.0f};
    float saturationGain[2] = {1.0f, 1.0f};
    // Automation, begin and end of edits, in order.
    std::vector<HostCall> hostCalls;

private:
    static VstIntPtr hostCallback(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr, void*, float opt)
    {
        if (opcode == audioMasterVersion)
        {
            return kVstVersion;
        }
        TestEffect* self = effect ? static_cast<TestEffect*>(effect->user) : nullptr;
        if (!self || (opcode != audioMasterAutomate && opcode != audioMasterBeginEdit && opcode != audioMasterEndEdit))
        {
            return 0;
        }
        self->hostCalls.push_back({opcode, index, opt});
        return 1;
    }
};
