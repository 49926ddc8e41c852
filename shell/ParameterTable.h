#pragma once

// The plug-in's parameters and factory programs, written once: the effect
// describes itself to the host from them, the editor tags its controls with
// the indices and the benchmarks run the programs.

// The one vocabulary of the parameter table, the limiter settings they drive
// and the editor's control tags.
enum ParameterIndex
{
    kInputGain,
    kAttack,
    kRelease,
    kLookahead,
    kTruePeak,
    kCeiling,
    kMeterScale,
    kLink,
    kAES17,
    kMonitor,
    kSaturation,
    kWordLength,
    kNoiseShaping,
    kNumParameters
};

constexpr int kNumPrograms = 64;
constexpr int kNumFactoryPrograms = 17;

struct ParameterRow
{
    const char* name;
    const char* label;
    const char* format;   // printf format of the value in units
    float minimum;
    float maximum;
    float defaultValue;   // in units

    float toUnits(float normalised) const { return minimum + normalised * (maximum - minimum); }
    float toNormalised(float units) const { return (units - minimum) / (maximum - minimum); }
};

struct ProgramRow
{
    const char* name;
    float values[kNumParameters];   // in units, in parameter order
};

extern const ParameterRow parameterTable[kNumParameters];
extern const ProgramRow factoryPrograms[kNumFactoryPrograms];
