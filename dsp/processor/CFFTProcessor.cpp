#include "processor/CFFTProcessor.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr float pi = 3.1415927f;
constexpr float sqrtTwo = 1.4142135f;
constexpr float sqrtHalf = 0.70710677f;
}

CFFTProcessor::CFFTProcessor(int inputs, int outputs, int fftLength_, int frameLength_, int hop_, int windowType_)
    : CProcessor(inputs, outputs),
      fftLength(fftLength_),
      hop(hop_),
      frameLength(std::max(frameLength_, fftLength_)),
      windowType(int8_t(windowType_)),
      fft(fftLength_),
      analysis(size_t(frameLength), 0.0f),
      synthesis(size_t(frameLength), 0.0f),
      inFrame(size_t(std::max(inputs, 0)), std::vector<float>(size_t(frameLength), 0.0f)),
      inSpectrum(size_t(std::max(inputs, 0)), std::vector<float>(size_t(fftLength), 0.0f)),
      outFrame(size_t(std::max(outputs, 0)), std::vector<float>(size_t(frameLength), 0.0f)),
      outSpectrum(size_t(std::max(outputs, 0)), std::vector<float>(size_t(fftLength), 0.0f)),
      framePos(0)
{
    setWindow(windowType_);
    clear();
    update();
}

void CFFTProcessor::process(const float* const* in, float* const* out, int frames)
{
    const int hopMask = hop - 1;
    const int frameMask = frameLength - 1;
    for (int i = 0; i < frames; ++i)
    {
        for (int ch = 0; ch < numInputs; ++ch)
        {
            // Garbage (NaN, infinities, absurd levels) enters as silence so
            // that no filter, delay line or envelope downstream is poisoned.
            const float x = in[ch][i];
            inFrame[size_t(ch)][size_t(framePos)] = std::fabs(x) <= 1000.0f ? x : 0.0f;
        }
        for (int ch = 0; ch < numOutputs; ++ch)
            out[ch][i] = outFrame[size_t(ch)][size_t(framePos)];
        ++framePos;
        if ((framePos & hopMask) == 0)
        {
            framePos &= frameMask;
            processFrame();
        }
    }
}

void CFFTProcessor::clear()
{
    for (auto& frame : inFrame)
        std::fill(frame.begin(), frame.end(), 0.0f);
    for (auto& frame : outFrame)
        std::fill(frame.begin(), frame.end(), 0.0f);
    framePos = 0;
}

void CFFTProcessor::transform(float* frame, float* spectrum, bool inverse)
{
    const int mask = frameLength - 1;
    const int fftMask = fftLength - 1;
    if (!inverse)
    {
        for (int j = 0; j < fftLength; ++j)
            spectrum[j] = frame[(j + framePos) & mask] * analysis[size_t(j)];
        // Frames longer than the transform fold onto it in time.
        for (int j = fftLength; j < frameLength; ++j)
            spectrum[j & fftMask] += frame[(j + framePos) & mask] * analysis[size_t(j)];
        fft.transform(spectrum, false);
        spectrum[0] *= sqrtHalf;
        spectrum[1] = 0.0f;
        return;
    }

    spectrum[0] *= sqrtTwo;
    spectrum[1] = 0.0f;
    fft.transform(spectrum, true);
    const int overlap = frameLength - hop;
    for (int j = 0; j < overlap; ++j)
        frame[(j + framePos) & mask] += spectrum[j & fftMask] * synthesis[size_t(j)];
    for (int j = overlap; j < frameLength; ++j)
        frame[(j + framePos) & mask] = spectrum[j & fftMask] * synthesis[size_t(j)];
}

void CFFTProcessor::copyFrame(const float* in, float* out)
{
    const int mask = frameLength - 1;
    const float roundTripGain = float(fftLength) * 0.5f;
    const int overlap = frameLength - hop;
    for (int j = 0; j < overlap; ++j)
        out[(j + framePos) & mask] += in[(j + framePos) & mask] * analysis[size_t(j)] * synthesis[size_t(j)] * roundTripGain;
    for (int j = overlap; j < frameLength; ++j)
        out[(j + framePos) & mask] = in[(j + framePos) & mask] * analysis[size_t(j)] * synthesis[size_t(j)] * roundTripGain;
}

void CFFTProcessor::processFrame()
{
    for (int ch = 0; ch < std::min(numInputs, numOutputs); ++ch)
        copyFrame(inFrame[size_t(ch)].data(), outFrame[size_t(ch)].data());
}

void CFFTProcessor::setWindow(int type)
{
    const int n = frameLength;
    const float r = 1.0f / float(n);
    const float s = 4.0f * float(hop) * r;
    switch (type)
    {
    case 0:
    case 1:
        for (int j = 0; j < n; ++j)
        {
            const float t = float(j) + 0.5f;
            float v = std::sin(pi * t * r);
            if (type == 0)
                v = std::sin(pi / 2.0f * (v * v));
            analysis[size_t(j)] = r * v * sqrtTwo;
            synthesis[size_t(j)] = s * v * sqrtHalf;
        }
        break;
    case 2:
        for (int j = 0; j < n; ++j)
        {
            const float t = float(j) + 0.5f;
            const float v = 0.35875f - 0.48829f * std::cos(2.0f * pi * t * r) + 0.14128f * std::cos(4.0f * pi * t * r)
                            - 0.01168f * std::cos(6.0f * pi * t * r);
            synthesis[size_t(j)] = v * s * 0.5f;
            analysis[size_t(j)] = v * r * 2.0f;
        }
        break;
    default:
        return;
    }
    windowType = int8_t(type);
}
