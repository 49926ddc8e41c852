#pragma once

#include "processor/CFFTProcessor.h"

#include <vector>

// Groups the bins of a frame's spectrum into bands about one equivalent
// rectangular bandwidth wide, with an absolute threshold of hearing and a
// window-dependent weight per band, and measures band powers.
class CSBProcessor : public CFFTProcessor
{
public:
    CSBProcessor(int inputs, int outputs, int fftLength, int frameLength, int hop, int windowType);

    void update() override;
    virtual void buildBands();
    // power[b] = power[b]*coef + g*(1e-16 + sum over the band's bins of
    // reA*reB + imA*imB), g = 2*(1 - coef). Spectra as (re, im) pairs.
    virtual void bandPower(const float* specA, const float* specB, float* power, float coef);

    int getBandCount() const { return bandCount; }
    const int* getBinsPerBand() const { return binsPerBand.data(); }
    const float* getBandCentres() const { return bandCentre.data(); }
    const float* getThresholds() const { return threshold.data(); }

protected:
    int bandCount;
    std::vector<int> binsPerBand;
    std::vector<float> bandCentre;
    float smoothTime;
    float widthFactor;
    float powerCoef;
    std::vector<float> threshold;
    std::vector<float> weight;
    float upSpread;
    float downSpread;
};
