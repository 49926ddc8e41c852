#pragma once

#include "AudioEffect.h"

// The 2.x extensions of an effect: identity strings, category, canDo,
// program names by index, pin and parameter properties, processing state,
// and the calls an effect makes to its host.
class AudioEffectX : public AudioEffect
{
public:
    AudioEffectX(audioMasterCallback audioMaster, VstInt32 numPrograms, VstInt32 numParams);

    VstIntPtr dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt) override;

    virtual VstInt32 processEvents(VstEvents* events);
    virtual bool canParameterBeAutomated(VstInt32 index);
    virtual bool string2parameter(VstInt32 index, char* text);
    virtual bool getParameterProperties(VstInt32 index, VstParameterProperties* properties);
    virtual bool getProgramNameIndexed(VstInt32 category, VstInt32 index, char* text);
    virtual bool getInputProperties(VstInt32 index, VstPinProperties* properties);
    virtual bool getOutputProperties(VstInt32 index, VstPinProperties* properties);
    virtual VstPlugCategory getPlugCategory();
    virtual bool setBypass(bool onOff);
    // Text buffers: effect name kVstMaxEffectNameLen + 1 bytes, vendor and
    // product kVstMaxVendorStrLen + 1 and kVstMaxProductStrLen + 1.
    virtual bool getEffectName(char* name);
    virtual bool getVendorString(char* text);
    virtual bool getProductString(char* text);
    virtual VstInt32 getVendorVersion();
    virtual VstIntPtr vendorSpecific(VstInt32 index, VstIntPtr value, void* ptr, float opt);
    // 1: yes, -1: no, 0: don't know. The text may be null if the host sent none.
    virtual VstInt32 canDo(char* text);
    // 0: the host's default tail, 1: no tail, otherwise the tail in samples.
    virtual VstInt32 getGetTailSize();
    virtual VstInt32 getVstVersion();
    virtual bool beginSetProgram();
    virtual bool endSetProgram();
    virtual VstInt32 startProcess();
    virtual VstInt32 stopProcess();
    virtual bool setProcessPrecision(VstInt32 precision);
    virtual VstInt32 getNumMidiInputChannels();
    virtual VstInt32 getNumMidiOutputChannels();
    virtual VstInt32 setTotalSampleToProcess(VstInt32 value);
    virtual bool setPanLaw(VstInt32 type, float value);
    // 1: go on loading, -1: refuse, 0: not handled.
    virtual VstInt32 beginLoadBank(void* patchInfo);
    virtual VstInt32 beginLoadProgram(void* patchInfo);

    // What the effect announces in its AEffect record.
    virtual void noTail(bool state);

    // Calls to the host; each answers false without a host callback.
    // The editor brackets a user's edit of a parameter with these two.
    virtual bool beginEdit(VstInt32 index);
    virtual bool endEdit(VstInt32 index);

private:
    bool callHost(VstInt32 opcode, VstInt32 index, VstIntPtr value);
};
