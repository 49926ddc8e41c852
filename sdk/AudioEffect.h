#pragma once

#include "aeffectx.h"

#include <atomic>
#include <cstddef>

class AEffEditor;

// Copies at most maxChars characters and always terminates: dest must hold
// maxChars + 1 bytes. A null source yields an empty text.
void vst_strncpy(char* dest, const char* source, std::size_t maxChars);

// Base of an effect: owns the AEffect record handed to the host, routes the
// host's calls on it to virtual operations, and keeps the state every effect
// has (current program, sample rate, editor, host callback).
//
// The host may send anything through the dispatcher: null pointers,
// out-of-range indices, unknown opcodes. They are answered with neutral
// values (0, or nothing done) before a virtual operation is reached, so the
// dispatched operations only see valid indices and non-null texts. The
// direct setParameter/getParameter entries pass the index as the host sent
// it: effects check it themselves.
class AudioEffect
{
public:
    AudioEffect(audioMasterCallback audioMaster, VstInt32 numPrograms, VstInt32 numParams);
    // Deletes the editor, if any.
    virtual ~AudioEffect();

    virtual VstIntPtr dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt);

    virtual void open() {}
    virtual void close() {}
    virtual void suspend() {}
    virtual void resume() {}

    virtual void setParameter(VstInt32 index, float value);
    virtual float getParameter(VstInt32 index);
    // Sets the parameter, then tells the host (audioMasterAutomate) so it can record it.
    virtual void setParameterAutomated(VstInt32 index, float value);

    virtual VstInt32 getProgram() { return curProgram.load(std::memory_order_relaxed); }
    virtual void setProgram(VstInt32 program);
    // Program and parameter texts: name buffers hold kVstMaxProgNameLen + 1
    // bytes, parameter texts kVstMaxParamStrLen + 1.
    virtual void setProgramName(char* name);
    virtual void getProgramName(char* name);
    virtual void getParameterLabel(VstInt32 index, char* label);
    virtual void getParameterDisplay(VstInt32 index, char* text);
    virtual void getParameterName(VstInt32 index, char* text);

    // State as an opaque block; only used by effects that announce program chunks.
    virtual VstInt32 getChunk(void** data, bool isPreset);
    virtual VstInt32 setChunk(void* data, VstInt32 byteSize, bool isPreset);

    virtual void setSampleRate(float rate) { sampleRate = rate; }
    virtual void setBlockSize(VstInt32) {}
    virtual float getSampleRate() { return sampleRate; }

    virtual void processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames) = 0;
    virtual void processDoubleReplacing(double** inputs, double** outputs, VstInt32 sampleFrames);

    // What the effect announces in its AEffect record.
    virtual void setUniqueID(VstInt32 id) { cEffect.uniqueID = id; }
    virtual void setNumInputs(VstInt32 inputs) { cEffect.numInputs = inputs; }
    virtual void setNumOutputs(VstInt32 outputs) { cEffect.numOutputs = outputs; }
    virtual void canProcessReplacing(bool state);
    virtual void canDoubleReplacing(bool state);
    virtual void programsAreChunks(bool state);
    virtual void setInitialDelay(VstInt32 delay) { cEffect.initialDelay = delay; }

    // Takes ownership of the editor and announces it to the host.
    virtual void setEditor(AEffEditor* newEditor);

    AEffect* getAeffect() { return &cEffect; }

protected:
    audioMasterCallback audioMaster;
    AEffEditor* editor;
    float sampleRate;
    VstInt32 numPrograms;
    VstInt32 numParams;
    // Changed on the host's user-interface thread, read wherever a
    // parameter arrives (automation may come from the audio thread).
    std::atomic<VstInt32> curProgram;
    AEffect cEffect;

    void setFlag(VstInt32 flag, bool state);
    bool isParameterIndex(VstInt32 index) const { return index >= 0 && index < numParams; }
    bool isProgramIndex(VstIntPtr index) const { return index >= 0 && index < numPrograms; }

private:
    static VstIntPtr dispatchEffectClass(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value,
                                         void* ptr, float opt);
    static void accumulateClass(AEffect* effect, float** inputs, float** outputs, VstInt32 sampleFrames);
    static void processReplacingClass(AEffect* effect, float** inputs, float** outputs, VstInt32 sampleFrames);
    static void processDoubleReplacingClass(AEffect* effect, double** inputs, double** outputs,
                                            VstInt32 sampleFrames);
    static void setParameterClass(AEffect* effect, VstInt32 index, float value);
    static float getParameterClass(AEffect* effect, VstInt32 index);
};

// Defined by the effect module: creates its effect for the host (null when
// nothing could be made).
AudioEffect* createEffectInstance(audioMasterCallback audioMaster);
