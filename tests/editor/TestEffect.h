#pragma once

#include "AudioEffectX.h"
#include "CMyVSTEditor.h"
#include "EditorHost.h"

#include <vector>

// A stand-in for the plug-in: its parameter table (ranges, formats and
// labels), meter readings the test sets, and a host callback that records
// what the effect tells the host. It owns a CMyVSTEditor, as the plug-in
// does, and reaches it through the SDK's dispatcher like a host would.
class TestEffect : public AudioEffectX, public EditorHost
{
public:
    struct HostCall
    {
        VstInt32 opcode;
        VstInt32 index;
        float value;
    };

    TestEffect();

    void setParameter(VstInt32 index, float value) override;
    float getParameter(VstInt32 index) override;
    void getParameterDisplay(VstInt32 index, char* text) override;
    void getParameterLabel(VstInt32 index, char* text) override;
    bool getProductString(char* text) override;
    VstInt32 getVendorVersion() override;
    void processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames) override;

    void getParameterText(VstInt32 index, char* text) override;
    float getPlainValue(VstInt32 index) override;
    float getRmsLevel(int channel) override;
    float getOutputPeak(int channel) override;
    float getGainReduction(int channel) override;
    float getSaturationGain(int channel) override;

    CMyVSTEditor* getEditorObject() { return static_cast<CMyVSTEditor*>(editor); }
    VstIntPtr dispatch(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0, void* ptr = nullptr)
    {
        return dispatcher(opcode, index, value, ptr, 0.0f);
    }

    // Readings the meter getters return, per channel.
    float rmsLevel[2];
    float outputPeak[2];
    float gainReduction[2];
    float saturationGain[2];
    // Calls to the host callback: automation, begin and end of edits.
    std::vector<HostCall> hostCalls;
    // Automation calls only.
    std::vector<HostCall> automations() const;

private:
    static VstIntPtr hostCallback(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                  float opt);

    float values[kNumParameters];
};
