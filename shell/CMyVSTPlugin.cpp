#include "CMyVSTPlugin.h"

#include "AEffGUIEditor.h"
#include "CMyVSTEditor.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace
{
struct ParameterRow
{
    const char* name;
    const char* label;
    const char* format;
    float minimum;
    float maximum;
    float defaultValue;
};

// Indexed by ParameterIndex; minimum, maximum and default in units.
const ParameterRow parameterTable[kNumParameters] = {
    // name        label  format     min      max     default
    {"In gain",   "dB",  "%+2.1f",  -20.0f,  20.0f,   0.0f},
    {"Attack",    "s",   "%1.4f",     0.0f,   1.0f,   0.04f},
    {"Release",   "s",   "%1.4f",     0.0f,   1.0f,   0.5f},
    {"Lookahd",   "s",   "%1.4f",     0.0f,   0.003f, 0.001f},
    {"ISP",       "",    "%2.1f",     0.0f,   1.0f,   0.0f},
    {"Outceil",   "dB",  "%2.1f",   -10.0f,   0.0f,  -0.1f},
    {"Scale",     "",    "%2.0f",     0.0f,   3.0f,   0.0f},
    {"Link",      "%",   "%2.0f",     0.0f, 100.0f,  35.0f},
    {"AES17",     "",    "%1.0f",     0.0f,   1.0f,   1.0f},
    {"Monitor",   "",    "%1.0f",     0.0f,   1.0f,   0.0f},
    {"Saturate",  "%",   "%2.0f",     0.0f, 100.0f,  20.0f},
    {"NumBits",   "",    "%2.0f",     0.0f,   3.0f,   0.0f},
    {"Shaping",   "%",   "%2.0f",     0.0f, 100.0f, 100.0f},
};

struct ProgramRow
{
    const char* name;
    float values[kNumParameters];
};

// Values in units, columns in parameter order.
const ProgramRow factoryPrograms[CMyVSTPlugin::kNumFactoryPrograms] = {
    //                               gain  attack release lookahd  ISP  ceil scale link AES17 mon  sat bits shaping
    {"Palisorne limiter",          {  0.0f, 0.04f, 0.5f,  0.001f,  0.0f, -0.1f, 0.0f, 35.0f, 1.0f, 0.0f,  30.0f, 0.0f,   0.0f}},
    {"K-system DVD master",        {  0.0f, 0.03f, 0.5f,  0.002f,  1.0f, -1.0f, 3.0f, 50.0f, 1.0f, 0.0f,  10.0f, 3.0f,  50.0f}},
    {"K-system CD master",         {  0.0f, 0.05f, 0.4f,  0.001f,  1.0f, -0.1f, 2.0f, 35.0f, 1.0f, 0.0f,  20.0f, 2.0f, 100.0f}},
    {"EBU R128 -1 dBTP",           {  0.0f, 0.04f, 0.3f,  0.001f,  1.0f, -1.0f, 0.0f, 40.0f, 1.0f, 0.0f,  20.0f, 3.0f,  50.0f}},
    {"ATSC A/85 -2 dBTP",          {  0.0f, 0.04f, 0.3f,  0.001f,  1.0f, -2.0f, 0.0f, 40.0f, 1.0f, 0.0f,  20.0f, 3.0f,  50.0f}},
    {"+6 dB gain",                 {  6.0f, 0.04f, 0.4f,  0.001f,  0.0f,  0.0f, 0.0f, 35.0f, 1.0f, 0.0f,  30.0f, 0.0f,   0.0f}},
    {"+10 dB gain",                { 10.0f, 0.04f, 0.5f,  0.001f,  0.0f,  0.0f, 0.0f, 35.0f, 1.0f, 0.0f,  40.0f, 0.0f,   0.0f}},
    {"Bass-heavy CD master",       {  0.0f, 0.04f, 0.4f,  0.0015f, 1.0f, -0.1f, 0.0f, 35.0f, 1.0f, 0.0f,  40.0f, 2.0f, 100.0f}},
    {"Clean CD master",            {  0.0f, 0.02f, 0.6f,  0.001f,  1.0f, -0.5f, 0.0f, 35.0f, 1.0f, 0.0f,  20.0f, 2.0f, 100.0f}},
    {"+6 dB true peak headroom",   {  0.0f, 0.04f, 0.4f,  0.001f,  1.0f, -6.0f, 0.0f, 35.0f, 1.0f, 0.0f,  30.0f, 0.0f,   0.0f}},
    {"+10 dB true peak headroom",  {  0.0f, 0.04f, 0.5f,  0.001f,  1.0f, -10.0f, 0.0f, 35.0f, 1.0f, 0.0f, 40.0f, 0.0f,   0.0f}},
    {"Push it to the limit",       { 10.0f, 0.08f, 0.4f,  0.001f,  0.0f,  0.0f, 0.0f,  0.0f, 1.0f, 0.0f,  80.0f, 0.0f,   0.0f}},
    {"Vintage limiter",            {  6.0f, 0.0f,  0.15f, 0.001f,  0.0f,  0.0f, 0.0f,  0.0f, 1.0f, 0.0f,   0.0f, 0.0f,   0.0f}},
    {"Solid low end",              {  6.0f, 0.04f, 0.4f,  0.003f,  0.0f,  0.0f, 0.0f, 50.0f, 1.0f, 0.0f,  30.0f, 0.0f,   0.0f}},
    {"Edgy",                       {  6.0f, 0.2f,  0.2f,  0.001f,  0.0f,  0.0f, 0.0f, 50.0f, 1.0f, 0.0f,  90.0f, 0.0f,   0.0f}},
    {"Add warmth",                 {  6.0f, 0.2f,  0.2f,  0.0004f, 0.0f,  0.0f, 0.0f,  0.0f, 1.0f, 0.0f, 100.0f, 0.0f,   0.0f}},
    {"Transient squeezer",         {  0.0f, 0.09f, 0.2f,  0.001f,  0.0f, -5.0f, 0.0f,  0.0f, 1.0f, 1.0f, 100.0f, 0.0f,   0.0f}},
};
}

CMyVSTPlugin::CMyVSTPlugin(audioMasterCallback audioMaster, int numInputs, int numOutputs, int numPrograms,
                           int numParams)
    : CVSTPlugin(audioMaster, numInputs, numOutputs, numPrograms, numParams), CLimiter(numInputs)
{
    config->uniqueID = vstFourCharCode('K', 'W', 'P', 'S');
    config->setEffectName("KW_Palisorne");
    config->setProductString("KW_Palisorne");
    config->initialDelay = getLatency();
    config->tailSize = 0;

    for (int index = 0; index < kNumParameters; ++index)
    {
        const ParameterRow& row = parameterTable[index];
        config->defineParameter(index, row.name, row.label, row.minimum, row.maximum, row.defaultValue,
                                row.format);
    }
    for (int index = 0; index < kNumFactoryPrograms; ++index)
    {
        config->defineProgram(index, factoryPrograms[index].name, factoryPrograms[index].values);
    }

    initialise();
    setEditor(new CMyVSTEditor(this, this));
}

CMyVSTPlugin::~CMyVSTPlugin() = default;

void CMyVSTPlugin::suspend()
{
    CVSTPlugin::suspend();
    clear();
}

void CMyVSTPlugin::resume()
{
    CVSTPlugin::resume();
    clear();
}

void CMyVSTPlugin::setSampleRate(float rate)
{
    CLimiter::setSampleRate(rate);
}

void CMyVSTPlugin::processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames)
{
    if (!inputs || !outputs || sampleFrames < 0)
    {
        return;
    }
    for (int channel = 0; channel < getChannelCount(); ++channel)
    {
        if (!inputs[channel] || !outputs[channel])
        {
            return;
        }
    }
    process(inputs, outputs, sampleFrames);
}

void CMyVSTPlugin::setParameter(VstInt32 index, float value)
{
    if (index >= kNumParameters || !std::isfinite(value))
    {
        return;
    }
    CVSTPlugin::setParameter(index, value);
    if (AEffGUIEditor* gui = dynamic_cast<AEffGUIEditor*>(editor))
    {
        gui->setParameter(index, value);
    }
    // The value is stored as given, but drives the limiter as the nearest end
    // of its range: beyond it a gain overflows and a step count converts out
    // of the integer range.
    value = std::clamp(value, 0.0f, 1.0f);
    const float plain = config->toPlain(index, value);
    // A negative index, seen as unsigned, matches no setting.
    switch (static_cast<unsigned>(index))
    {
    case kInputGain:
        setInputGain(plain);
        break;
    case kAttack:
        setAttack(plain);
        break;
    case kRelease:
        setRelease(plain);
        break;
    case kLookahead:
        setLookahead(plain);
        break;
    case kTruePeak:
        setTruePeak(value > 0.5f);
        break;
    case kCeiling:
        setCeiling(plain);
        break;
    case kMeterScale:
        // Read by the editor only.
        break;
    case kLink:
        setLink(value);
        break;
    case kAES17:
        setAES17(value > 0.5f);
        break;
    case kMonitor:
        setMonitor(value > 0.5f);
        break;
    case kSaturation:
        setSaturation(plain * 0.01f);
        break;
    case kWordLength:
        setNumBits(static_cast<int8_t>(static_cast<int>(plain + 0.5f) * 8));
        break;
    case kNoiseShaping:
        setShaping(value);
        break;
    default:
        break;
    }
}

static_assert(EditorHost::parameterTextSize == CVSTPlugin::parameterTextSize, "editor and framework texts");

void CMyVSTPlugin::getParameterText(VstInt32 index, char* text)
{
    CVSTPlugin::getParameterText(index, text);
}

float CMyVSTPlugin::getPlainValue(VstInt32 index)
{
    return CVSTPlugin::getPlainValue(index);
}

float CMyVSTPlugin::getRmsLevel(int channel)
{
    return CLimiter::getRmsLevel(channel);
}

float CMyVSTPlugin::getOutputPeak(int channel)
{
    return CLimiter::getOutputPeak(channel);
}

float CMyVSTPlugin::getGainReduction(int channel)
{
    return CLimiter::getGainReduction(channel);
}

float CMyVSTPlugin::getSaturationGain(int channel)
{
    return CLimiter::getSaturationGain(channel);
}

AudioEffect* createEffectInstance(audioMasterCallback audioMaster)
{
    return new (std::nothrow) CMyVSTPlugin(audioMaster, 2, 2, CMyVSTPlugin::kNumPrograms,
                                           kNumParameters);
}
