#pragma once

#include "SharedLibrary.h"
#include "aeffectx.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

// One VST 2.4 effect loaded from a module file, as a host sees it.
//
// The constructor loads the module (see SharedLibrary), calls
// its entry point (VSTPluginMain, or main for older modules) with this
// host's callback and checks the returned AEffect; it sends nothing else.
// A usual start is open(), setSampleRate(), setBlockSize(), resume(); then
// processReplacing() blocks of at most the block size. The destructor closes
// the effect (effClose) unless close() did, then unloads the module.
//
// The callback answers the effect's questions: audioMasterVersion 2400, the
// sample rate and block size last set through this object (44100 and 1024
// before), the host's vendor and product strings, canDo 0 ("no") to every
// capability, and records every audioMasterAutomate call.
//
// Not thread-safe: one thread drives an instance (audio and control calls
// alike), as a command-line host does. Several instances may coexist, also
// of the same module file.
class VstModule
{
public:
    struct Automation
    {
        VstInt32 index;
        float value;
    };

    // Throws std::runtime_error, with the path and the reason, when the file
    // cannot be loaded, exports no entry point, creates no effect or returns
    // something that is not a VST 2 effect.
    explicit VstModule(const std::string& path);
    ~VstModule();
    VstModule(const VstModule&) = delete;
    VstModule& operator=(const VstModule&) = delete;

    const std::string& path() const { return modulePath; }
    // Null after close().
    AEffect* effect() const { return aeffect; }

    // The raw dispatcher; 0 after close().
    VstIntPtr dispatch(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0, void* ptr = nullptr,
                       float opt = 0.0f);

    void open();
    // Deletes the effect; effect() is null afterwards.
    void close();
    // Sent to the effect and answered to its audioMasterGetSampleRate.
    void setSampleRate(float rate);
    // Sent to the effect and answered to its audioMasterGetBlockSize.
    void setBlockSize(VstInt32 frames);
    void resume();
    void suspend();

    // Through the AEffect's own entries, not the dispatcher.
    void setParameter(VstInt32 index, float value);
    float getParameter(VstInt32 index);
    // Texts are read into zeroed buffers far larger than the interface's
    // limits, so an effect that writes too much shows it in the result.
    std::string parameterName(VstInt32 index);
    std::string parameterLabel(VstInt32 index);
    std::string parameterDisplay(VstInt32 index);

    VstInt32 program();
    void setProgram(VstInt32 program);
    std::string programName();
    void setProgramName(const std::string& name);
    // Empty when the effect answers 0 (no such program).
    std::optional<std::string> programNameIndexed(VstInt32 index);

    std::string effectName();
    std::string vendorString();
    std::string productString();
    VstInt32 vendorVersion();
    VstInt32 vstVersion();
    VstInt32 plugCategory();
    VstInt32 tailSize();
    // 1 yes, -1 no, 0 don't know; a null text is sent as a null pointer.
    VstIntPtr canDo(const char* capability);

    // The AEffect record's fields; 0 after close().
    VstInt32 uniqueId() const { return field(&AEffect::uniqueID); }
    VstInt32 numInputs() const { return field(&AEffect::numInputs); }
    VstInt32 numOutputs() const { return field(&AEffect::numOutputs); }
    VstInt32 numParams() const { return field(&AEffect::numParams); }
    VstInt32 numPrograms() const { return field(&AEffect::numPrograms); }
    VstInt32 initialDelay() const { return field(&AEffect::initialDelay); }
    VstInt32 flags() const { return field(&AEffect::flags); }

    // inputs[numInputs()] and outputs[numOutputs()] arrays of frames samples.
    void processReplacing(float** inputs, float** outputs, VstInt32 frames);

    // Every audioMasterAutomate call since construction or the last clear.
    const std::vector<Automation>& automation() const { return automations; }
    void clearAutomation() { automations.clear(); }

    static constexpr const char* hostVendor = "Virelmatt";
    static constexpr const char* hostProduct = "palisorne-vsthost";

private:
    static VstIntPtr hostCallback(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                  float opt);
    VstIntPtr answer(VstInt32 opcode, VstInt32 index, void* ptr, float opt);
    std::string readText(VstInt32 opcode, VstInt32 index, VstIntPtr value = 0);
    VstInt32 field(VstInt32 AEffect::*member) const { return aeffect ? aeffect->*member : 0; }

    std::string modulePath;
    std::unique_ptr<SharedLibrary> library;
    AEffect* aeffect;
    float hostSampleRate;
    VstInt32 hostBlockSize;
    std::vector<Automation> automations;
};
