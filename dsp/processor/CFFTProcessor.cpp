#include "processor/CFFTProcessor.h"

#include "blocks/CExactMath.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr float pi = 3.1415927f;
constexpr float sqrtTwo = 1.4142135f;
constexpr float sqrtHalf = 0.70710677f;

// Calls run(j, end, frameIndex, transformIndex) for the stretches of
// first <= j < last over which both the circular frame index (j + pos) &
// frameMask and the transform index j & fftMask run without wrapping, so
// that each stretch is a plain loop over three arrays.
template <typename Run>
void forEachStretch(int first, int last, int pos, int frameLength, int fftLength, Run run)
{
    for (int j = first; j < last;)
    {
        const int frameIndex = (j + pos) & (frameLength - 1);
        const int transformIndex = j & (fftLength - 1);
        const int end = std::min({last, j + frameLength - frameIndex, j + fftLength - transformIndex});
        run(j, end, frameIndex, transformIndex);
        j = end;
    }
}
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
    // Stretch by stretch up to the next hop: within one, every input sample
    // is read before any output sample is written, as sample by sample.
    for (int i = 0; i < frames;)
    {
        const int count = std::min(frames - i, hop - (framePos & hopMask));
        for (int ch = 0; ch < numInputs; ++ch)
        {
            // Garbage (NaN, infinities, absurd levels) enters as silence so
            // that no filter, delay line or envelope downstream is poisoned.
            const float* source = in[ch] + i;
            float* frame = inFrame[size_t(ch)].data() + framePos;
            for (int j = 0; j < count; ++j)
                frame[j] = std::fabs(source[j]) <= 1000.0f ? source[j] : 0.0f;
        }
        for (int ch = 0; ch < numOutputs; ++ch)
            std::copy_n(outFrame[size_t(ch)].data() + framePos, count, out[ch] + i);
        framePos += count;
        i += count;
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
    const float* window = analysis.data();
    if (!inverse)
    {
        forEachStretch(0, fftLength, framePos, frameLength, fftLength, [&](int j, int end, int f, int t) {
            for (; j < end; ++j, ++f, ++t)
                spectrum[t] = frame[f] * window[j];
        });
        // Frames longer than the transform fold onto it in time.
        forEachStretch(fftLength, frameLength, framePos, frameLength, fftLength, [&](int j, int end, int f, int t) {
            for (; j < end; ++j, ++f, ++t)
                spectrum[t] += frame[f] * window[j];
        });
        fft.transform(spectrum, false);
        spectrum[0] *= sqrtHalf;
        spectrum[1] = 0.0f;
        return;
    }

    spectrum[0] *= sqrtTwo;
    spectrum[1] = 0.0f;
    fft.transform(spectrum, true);
    const int overlap = frameLength - hop;
    window = synthesis.data();
    forEachStretch(0, overlap, framePos, frameLength, fftLength, [&](int j, int end, int f, int t) {
        for (; j < end; ++j, ++f, ++t)
            frame[f] += spectrum[t] * window[j];
    });
    forEachStretch(overlap, frameLength, framePos, frameLength, fftLength, [&](int j, int end, int f, int t) {
        for (; j < end; ++j, ++f, ++t)
            frame[f] = spectrum[t] * window[j];
    });
}

void CFFTProcessor::copyFrame(const float* in, float* out)
{
    const float roundTripGain = float(fftLength) * 0.5f;
    const int overlap = frameLength - hop;
    const float* a = analysis.data();
    const float* s = synthesis.data();
    // Only the frame index matters here: fftLength plays no part.
    forEachStretch(0, overlap, framePos, frameLength, frameLength, [&](int j, int end, int f, int) {
        for (; j < end; ++j, ++f)
            out[f] += in[f] * a[j] * s[j] * roundTripGain;
    });
    forEachStretch(overlap, frameLength, framePos, frameLength, frameLength, [&](int j, int end, int f, int) {
        for (; j < end; ++j, ++f)
            out[f] = in[f] * a[j] * s[j] * roundTripGain;
    });
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
            float v = CExactMath::sin(pi * t * r);
            if (type == 0)
                v = CExactMath::sin(pi / 2.0f * (v * v));
            analysis[size_t(j)] = r * v * sqrtTwo;
            synthesis[size_t(j)] = s * v * sqrtHalf;
        }
        break;
    case 2:
        for (int j = 0; j < n; ++j)
        {
            const float t = float(j) + 0.5f;
            const float v = 0.35875f - 0.48829f * CExactMath::cos(2.0f * pi * t * r) + 0.14128f * CExactMath::cos(4.0f * pi * t * r)
                            - 0.01168f * CExactMath::cos(6.0f * pi * t * r);
            synthesis[size_t(j)] = v * s * 0.5f;
            analysis[size_t(j)] = v * r * 2.0f;
        }
        break;
    default:
        return;
    }
    windowType = int8_t(type);
}
