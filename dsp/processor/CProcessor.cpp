#include "processor/CProcessor.h"

#include "blocks/SampleRateRange.h"

#include <algorithm>
#include <cstring>

CProcessor::CProcessor(int inputs, int outputs)
    : numInputs(int8_t(inputs)), numOutputs(int8_t(outputs)), fs(44100.0f)
{
}

void CProcessor::process(const float* const* in, float* const* out, int frames)
{
    const int channels = std::min(numInputs, numOutputs);
    if (frames <= 0)
        return;
    for (int ch = 0; ch < channels; ++ch)
    {
        if (in[ch] != out[ch])
            std::memmove(out[ch], in[ch], sizeof(float) * size_t(frames));
    }
}

void CProcessor::clear()
{
}

void CProcessor::setSampleRate(float rate)
{
    const float clamped = clampSampleRate(rate);
    if (clamped == fs)
        return;
    fs = clamped;
    update();
    clear();
}

float CProcessor::getSampleRate() const
{
    return fs;
}

void CProcessor::update()
{
}
