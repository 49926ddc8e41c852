#pragma once

#include "processor/CSBProcessor.h"

#include <vector>

// Adds a masking model with exponential spreading across bands.
class CPsychoProcessor : public CSBProcessor
{
public:
    CPsychoProcessor(int inputs, int outputs, int fftLength, int frameLength, int hop, int windowType);

    // Masking threshold per band from band powers: spreading up and down,
    // a -15 dB offset plus the threshold of hearing, optionally normalised
    // by the spread of its own reciprocal and weighted per band.
    virtual void maskingThreshold(const float* power, float* mask, bool normalise, bool weighted);

private:
    // Work arrays of the normalisation, sized once for the most bands.
    std::vector<float> reciprocal;
    std::vector<float> spreadSum;
};
