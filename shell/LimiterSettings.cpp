#include "LimiterSettings.h"

#include "ParameterTable.h"
#include "limiter/CLimiter.h"

#include <algorithm>
#include <cstdint>

void applyParameter(CLimiter& limiter, int index, float normalised)
{
    if (index < 0 || index >= kNumParameters)
    {
        return;
    }
    const float value = std::clamp(normalised, 0.0f, 1.0f);
    const float units = parameterTable[index].toUnits(value);
    switch (index)
    {
    case kInputGain:
        limiter.setInputGain(units);
        break;
    case kAttack:
        limiter.setAttack(units);
        break;
    case kRelease:
        limiter.setRelease(units);
        break;
    case kLookahead:
        limiter.setLookahead(units);
        break;
    case kTruePeak:
        limiter.setTruePeak(value > 0.5f);
        break;
    case kCeiling:
        limiter.setCeiling(units);
        break;
    case kLink:
        limiter.setLink(value);
        break;
    case kAES17:
        limiter.setAES17(value > 0.5f);
        break;
    case kMonitor:
        limiter.setMonitor(value > 0.5f);
        break;
    case kSaturation:
        limiter.setSaturation(units * 0.01f);
        break;
    case kWordLength:
        limiter.setNumBits(static_cast<int8_t>(static_cast<int>(units + 0.5f) * 8));
        break;
    case kNoiseShaping:
        limiter.setShaping(value);
        break;
    default:
        break;
    }
}

void applyFactoryProgram(CLimiter& limiter, int program)
{
    const ProgramRow& row = factoryPrograms[program];
    for (int index = 0; index < kNumParameters; ++index)
    {
        applyParameter(limiter, index, parameterTable[index].toNormalised(row.values[index]));
    }
}
