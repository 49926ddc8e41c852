#pragma once

#include "AudioEffectX.h"
#include "CVSTConfig.h"

#include <memory>

// An effect that describes itself as data: it owns a CVSTConfig, which the
// concrete effect fills in its constructor, and answers the host's queries
// about identity, parameters and programs from it. The concrete effect ends
// its constructor with initialise() and overrides processing, the sample
// rate, suspend/resume and setParameter.
class CVSTPlugin : public AudioEffectX
{
public:
    CVSTPlugin(audioMasterCallback audioMaster, int numInputs, int numOutputs, int numPrograms, int numParams);
    ~CVSTPlugin() override;

    // Stores the normalised value in the current program. Ignored for an
    // index outside the table and for a value that is not finite.
    void setParameter(VstInt32 index, float value) override;
    // The current program's normalised value; 0 outside the table.
    float getParameter(VstInt32 index) override;
    // Makes the program current and replays each of its values, in index
    // order, through the most derived setParameter. Ignored outside the table.
    void setProgram(VstInt32 program) override;
    void setProgramName(char* name) override;
    void getProgramName(char* name) override;
    bool getProgramNameIndexed(VstInt32 category, VstInt32 index, char* text) override;
    void getParameterName(VstInt32 index, char* text) override;
    void getParameterLabel(VstInt32 index, char* text) override;
    // The value in units printed with the parameter's format, cut to 8 characters.
    void getParameterDisplay(VstInt32 index, char* text) override;

    bool getEffectName(char* name) override;
    bool getProductString(char* text) override;
    bool getVendorString(char* text) override;
    VstInt32 getVendorVersion() override;
    VstPlugCategory getPlugCategory() override;
    VstInt32 getGetTailSize() override;
    VstInt32 canDo(char* text) override;

    // The current program's value in units; 0 outside the table.
    float getPlainValue(VstInt32 index);
    // Display text directly followed by the label; text holds
    // parameterTextSize bytes.
    static constexpr int parameterTextSize = 2 * CVSTConfig::parameterTextLength + 1;
    void getParameterText(VstInt32 index, char* text);

protected:
    // Announces the record to the host (replacing, channels, latency, double
    // replacing, tail, unique ID), then sets the sample rate, selects
    // program 0 and resumes, all through the most derived operations.
    void initialise();

    std::unique_ptr<CVSTConfig> config;

private:
    // Null only for an effect without programs.
    CVSTConfig::Program* currentProgram();
};
