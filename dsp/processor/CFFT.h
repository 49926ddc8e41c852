#pragma once

#include <vector>

// In-place real-input FFT of length n (a power of two, at least 4): a complex
// radix-4 pass over n/2 interleaved points followed by the real split step.
//
// Spectrum layout: data[0] = DC, data[1] = the value at n/2 (Nyquist),
// data[2k], data[2k+1] = real part and sum of x[j]*sin(2*pi*j*k/n) for bin k,
// i.e. the imaginary part with the opposite of the usual sign.
// Forward then inverse scales the data by n/2; callers scale.
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
    void realSplit(float* data) const;

    int n;
    float invN;
    // [0] twiddle count, [1] split-table count, then bit-reversed seeds.
    std::vector<int> workArea;
    int seedBits = 1;
    // First n/4: e^(2*pi*i*m/(n/2)) for the first quadrant as (cos, sin)
    // pairs; last n/4: 0.5*cos(2*pi*k/n) for the real split step.
    std::vector<float> table;
};
