#pragma once

#include "processor/CFFT.h"
#include "processor/CProcessor.h"

#include <vector>

// Block framework: buffers the audio into circular frames of frameLength
// samples and calls processFrame() once every hop samples, counted across
// process calls. The output lags the input by frameLength samples.
class CFFTProcessor : public CProcessor
{
public:
    CFFTProcessor(int inputs, int outputs, int fftLength, int frameLength, int hop, int windowType);

    void process(const float* const* in, float* const* out, int frames) override;
    void clear() override;
    // Forward: windowed (and time-folded) frame into spectrum, then FFT.
    // Inverse: FFT of spectrum, then windowed overlap-add into frame.
    virtual void transform(float* frame, float* spectrum, bool inverse);
    // The overlap-add of the inverse path with the untransformed windowed
    // input, at the gain and delay of a transform round trip.
    virtual void copyFrame(const float* inFrame, float* outFrame);
    virtual void processFrame();
    // 0: sine of sine-squared, 1: sine, 2: four-term Blackman-Harris.
    virtual void setWindow(int type);

    const float* getAnalysisWindow() const { return analysis.data(); }

protected:
    int fftLength;
    int hop;
    int frameLength;
    int8_t windowType;
    CFFT fft;
    std::vector<float> analysis;
    std::vector<float> synthesis;
    std::vector<std::vector<float>> inFrame;
    std::vector<std::vector<float>> inSpectrum;
    std::vector<std::vector<float>> outFrame;
    std::vector<std::vector<float>> outSpectrum;
    int framePos;
};
