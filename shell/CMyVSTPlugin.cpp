#include "CMyVSTPlugin.h"

#include "AEffEditor.h"
#include "CMyVSTEditor.h"
#include "LimiterSettings.h"
#include "ParameterTable.h"

#include <cmath>
#include <new>

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
    setEditor(new CMyVSTEditor(this));
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
    if (editor)
    {
        editor->setParameter(index, value);
    }
    applyParameter(*this, index, value);
}

AudioEffect* createEffectInstance(audioMasterCallback audioMaster)
{
    return new (std::nothrow) CMyVSTPlugin(audioMaster, 2, 2, kNumPrograms,
                                           kNumParameters);
}
