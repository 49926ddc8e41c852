#pragma once

#include <array>

// What the plug-in must announce, written down independently of the
// plug-in's own tables: parameter ranges and factory programs in units.

constexpr int pluginParameterCount = 13;
constexpr int pluginProgramCount = 64;
constexpr int factoryProgramCount = 17;

struct ExpectedParameter
{
    const char* name;
    const char* label;
    float minimum;
    float maximum;
    float defaultValue;
};

constexpr ExpectedParameter expectedParameters[pluginParameterCount] = {
    {"In gain", "dB", -20.0f, 20.0f, 0.0f},
    {"Attack", "s", 0.0f, 1.0f, 0.04f},
    {"Release", "s", 0.0f, 1.0f, 0.5f},
    {"Lookahd", "s", 0.0f, 0.003f, 0.001f},
    {"ISP", "", 0.0f, 1.0f, 0.0f},
    {"Outceil", "dB", -10.0f, 0.0f, -0.1f},
    {"Scale", "", 0.0f, 3.0f, 0.0f},
    {"Link", "%", 0.0f, 100.0f, 35.0f},
    {"AES17", "", 0.0f, 1.0f, 1.0f},
    {"Monitor", "", 0.0f, 1.0f, 0.0f},
    {"Saturate", "%", 0.0f, 100.0f, 20.0f},
    {"NumBits", "", 0.0f, 3.0f, 0.0f},
    {"Shaping", "%", 0.0f, 100.0f, 100.0f},
};

struct ExpectedProgram
{
    const char* name;
    float values[pluginParameterCount];
};

constexpr ExpectedProgram expectedPrograms[factoryProgramCount] = {
    {"Palisorne limiter", {0, 0.04f, 0.5f, 0.001f, 0, -0.1f, 0, 35, 1, 0, 30, 0, 0}},
    {"K-system DVD master", {0, 0.03f, 0.5f, 0.002f, 1, -1, 3, 50, 1, 0, 10, 3, 50}},
    {"K-system CD master", {0, 0.05f, 0.4f, 0.001f, 1, -0.1f, 2, 35, 1, 0, 20, 2, 100}},
    {"EBU R128 -1 dBTP", {0, 0.04f, 0.3f, 0.001f, 1, -1, 0, 40, 1, 0, 20, 3, 50}},
    {"ATSC A/85 -2 dBTP", {0, 0.04f, 0.3f, 0.001f, 1, -2, 0, 40, 1, 0, 20, 3, 50}},
    {"+6 dB gain", {6, 0.04f, 0.4f, 0.001f, 0, 0, 0, 35, 1, 0, 30, 0, 0}},
    {"+10 dB gain", {10, 0.04f, 0.5f, 0.001f, 0, 0, 0, 35, 1, 0, 40, 0, 0}},
    {"Bass-heavy CD master", {0, 0.04f, 0.4f, 0.0015f, 1, -0.1f, 0, 35, 1, 0, 40, 2, 100}},
    {"Clean CD master", {0, 0.02f, 0.6f, 0.001f, 1, -0.5f, 0, 35, 1, 0, 20, 2, 100}},
    {"+6 dB true peak headroom", {0, 0.04f, 0.4f, 0.001f, 1, -6, 0, 35, 1, 0, 30, 0, 0}},
    {"+10 dB true peak headroom", {0, 0.04f, 0.5f, 0.001f, 1, -10, 0, 35, 1, 0, 40, 0, 0}},
    {"Push it to the limit", {10, 0.08f, 0.4f, 0.001f, 0, 0, 0, 0, 1, 0, 80, 0, 0}},
    {"Vintage limiter", {6, 0, 0.15f, 0.001f, 0, 0, 0, 0, 1, 0, 0, 0, 0}},
    {"Solid low end", {6, 0.04f, 0.4f, 0.003f, 0, 0, 0, 50, 1, 0, 30, 0, 0}},
    {"Edgy", {6, 0.2f, 0.2f, 0.001f, 0, 0, 0, 50, 1, 0, 90, 0, 0}},
    {"Add warmth", {6, 0.2f, 0.2f, 0.0004f, 0, 0, 0, 0, 1, 0, 100, 0, 0}},
    {"Transient squeezer", {0, 0.09f, 0.2f, 0.001f, 0, -5, 0, 0, 1, 1, 100, 0, 0}},
};

// The normalised value the host sees for a value in units.
inline float normalisedValue(int parameter, float units)
{
    const ExpectedParameter& p = expectedParameters[parameter];
    return (units - p.minimum) / (p.maximum - p.minimum);
}

using ParameterValues = std::array<float, pluginParameterCount>;

// The normalised values of a factory program, or of the defaults (program -1).
inline ParameterValues normalisedValues(int program)
{
    ParameterValues values;
    for (int j = 0; j < pluginParameterCount; ++j)
    {
        values[j] = normalisedValue(
            j, program < 0 ? expectedParameters[j].defaultValue : expectedPrograms[program].values[j]);
    }
    return values;
}

// The capabilities an effect of this framework confirms, and those it denies.
constexpr const char* confirmedCapabilities[] = {"plugAsChannelInsert", "plugAsSend", "mixDryWet", "1in1out",
                                                 "1in2out", "2in1out", "2in2out"};
constexpr const char* deniedCapabilities[] = {"sendVstEvents", "sendVstMidiEvent", "receiveVstEvents",
                                              "receiveVstMidiEvent", "receiveVstTimeInfo", "offline", "noRealTime",
                                              "midiProgramNames", "bypass"};
