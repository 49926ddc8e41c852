#pragma once

#include <vector>

class CPsychoProcessor;

// The limiter's spectral saturation, once per FFT frame and channel: a frame
// that would clip gets the distortion of a soft clipper added where the
// frame itself masks it, band by band; any other frame passes unchanged.
class CFrameSaturation
{
public:
    // Frame buffers of one channel, as the block framework hands them.
    struct Frame
    {
        float* input;
        float* output;
        float* spectrum;
        float* modified;
    };

    CFrameSaturation(int channels, int frameLength, int fftLength);

    void clear();

    // The frame's saturation gain (1.0 for none) after processing it with
    // the processor's transforms and masking model; binsPerBand and
    // powerCoef are the processor's band layout.
    float process(CPsychoProcessor& processor, int channel, const Frame& frame, const int* binsPerBand, int bands,
                  float powerCoef, float inputGain, float clipLevel, float amount);

private:
    int frameLength;
    std::vector<float> residualFrame;
    std::vector<float> residualSpectrum;
    std::vector<float> maskThreshold;
    std::vector<float> residualBandPower;
    std::vector<std::vector<float>> inputBandPower;
};
