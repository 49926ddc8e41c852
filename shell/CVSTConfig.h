#pragma once

#include "aeffectx.h"

#include <atomic>
#include <memory>

// Everything an effect tells its host about itself, as data: identity,
// channel counts, canDo answers, the parameter descriptors and the program
// table with one normalised value per parameter. The effect fills it in its
// constructor; CVSTPlugin answers the host from it.
class CVSTConfig
{
public:
    static constexpr int parameterTextLength = kVstMaxParamStrLen;
    static constexpr int programNameLength = kVstMaxProgNameLen;
    static constexpr int canDoCount = 16;
    // The capabilities a host asks about, in the order of canDoAnswer.
    static const char* const canDoNames[canDoCount];

    struct Parameter
    {
        char name[parameterTextLength + 1];
        char label[parameterTextLength + 1];
        char format[parameterTextLength + 1];   // printf format of the value in units
        float minimum;
        float maximum;
        float defaultValue;                      // normalised
    };

    struct Program
    {
        char name[programNameLength + 1];
        // Normalised, one per parameter; written by the host's or the
        // editor's thread while others read them.
        std::unique_ptr<std::atomic<float>[]> values;
    };

    // Programs are named "Program 00" .. "Program 09", "Program 10" ..; all
    // values 0.5. Parameters are "Par j" / "Lab j", 0..1, default 0.5, "%3.2f".
    CVSTConfig(int programCount, int parameterCount);
    virtual ~CVSTConfig();

    // Index outside the table: ignored. Texts are cut to 8 characters; the
    // default (in units) becomes every program's value for the parameter.
    virtual void defineParameter(int index, const char* name, const char* label, float minimum, float maximum,
                                 float defaultValue, const char* format);
    // Index outside the table: ignored. The name is cut to 24 characters;
    // values are in units, one per parameter, normalised with the ranges of
    // the parameters defined so far.
    virtual void defineProgram(int index, const char* name, const float* values);

    void setVendorString(const char* text);
    void setEffectName(const char* text);
    void setProductString(const char* text);

    // 1 or -1 for the capabilities above; -1 for any other text or none.
    VstInt32 canDo(const char* capability) const;
    // Linear between the parameter's minimum and maximum; 0 outside the table.
    float toPlain(int parameter, float normalised) const;

    bool isParameter(int index) const { return index >= 0 && index < numParams; }
    bool isProgram(int index) const { return index >= 0 && index < numPrograms; }

    char vendor[kVstMaxVendorStrLen + 1];
    VstInt32 vendorVersion;
    VstInt32 uniqueID;
    char effectName[kVstMaxEffectNameLen + 1];
    char product[kVstMaxProductStrLen + 1];
    VstInt32 numInputs;
    VstInt32 numOutputs;
    bool canReplacing;
    bool canDoubleReplacing;
    VstInt32 tailSize;
    VstInt32 initialDelay;
    VstInt32 plugCategory;
    VstInt32 canDoAnswer[canDoCount];
    const int numParams;
    const int numPrograms;
    std::unique_ptr<Program[]> programs;
    std::unique_ptr<Parameter[]> parameters;
};
