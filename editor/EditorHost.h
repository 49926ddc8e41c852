#pragma once

#include "ParameterTable.h"
#include "aeffectx.h"

// What the editor reads from its plug-in beyond the SDK's effect operations:
// parameter texts and values in units, and the limiter's meters. The plug-in
// implements it; the editor never sees the limiter itself.
class EditorHost
{
public:
    // Display text directly followed by the label (8 + 8 characters and a
    // terminator).
    static constexpr int parameterTextSize = 17;

    virtual ~EditorHost() = default;

    // text holds parameterTextSize bytes.
    virtual void getParameterText(VstInt32 index, char* text) = 0;
    // The current program's value in units; 0 outside the parameter table.
    virtual float getPlainValue(VstInt32 index) = 0;

    // Linear meter readings of channel 0 (left) or 1 (right): levels from 0,
    // gains 1.0 for none. Reading one starts its release.
    virtual float getRmsLevel(int channel) = 0;
    virtual float getOutputPeak(int channel) = 0;
    virtual float getGainReduction(int channel) = 0;
    virtual float getSaturationGain(int channel) = 0;
};
