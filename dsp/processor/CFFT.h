#pragma once

#include <vector>

// In-place real-input FFT of length n (a power of two, at least 4): a complex
// radix-4 pass over n/2 interleaved points followed by the real split step.
//
// Spectrum layout: data[0] = DC, data[1] = the value at n/2 (Nyquist),
// data[2k], data[2k+1] = real part and sum of x[j]*sin(2*pi*j*k/n) for bin k,
// i.e. the imaginary part with the opposite of the usual sign.
// Forward then inverse scales the data by n/2; callers scale.
//
// The output bits are part of the plug-in's behaviour: the tables are made
// in single precision and every butterfly forms its values with the same
// operations on the same operands as the classic one-butterfly-at-a-time
// code of this algorithm, two butterflies per SSE2 register.
class CFFT
{
public:
    explicit CFFT(int n);
    virtual ~CFFT() = default;

    virtual void transform(float* data, bool inverse);
    // Multiplies all n values by 1/n.
    virtual void scale(float* data);
    virtual void makeTables();

    int size() const { return n; }

private:
    void bitReverse(float* data) const;
    void complexPass(float* data) const;
    void firstStage(float* data) const;
    void middleStage(float* data, int spacing) const;
    void lastStage(float* data, int spacing) const;
    void realSplit(float* data) const;

    int n;
    float invN;
    // [0] twiddle count, [1] split-table count, then bit-reversal seeds.
    std::vector<int> workArea;
    int seedBits = 1;
    // First n/4: the twiddles, first-quadrant (cos, sin) pairs in
    // bit-reversed order; last n/4: the split step's halved cosines.
    std::vector<float> table;

    // The bit reversal of the data as a list of swaps: complex point indices
    // (i, j) with j the reversal of i and i < j.
    std::vector<int> reversalSwaps;
    // Per butterfly group q = 1, 2, ...: k1, k2, k3 of the group's first half,
    // then k1, k2 turned a quarter (the second half's form), k3 of the second
    // half, as twelve registers (k1r, k1i, k2r, k2i, k3r, k3i per half), each
    // value in all four lanes.
    std::vector<float> groupTwiddles;
    // The same twiddles as the first stage uses them, a group's two halves
    // side by side: per q six registers, each (first, first, second, second).
    std::vector<float> firstStageTwiddles;
    // The real split step's factor (wkr, wki) for pairs of neighbouring
    // points, as (wkr, wkr, wkr', wkr') and (-wki, wki, -wki', wki').
    std::vector<float> splitTwiddles;
};
