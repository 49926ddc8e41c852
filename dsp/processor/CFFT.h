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
// The passes run two complex points per SSE2 register. Every value is formed
// by the same operations on the same operands as in the one-point-at-a-time
// form of the algorithm, so the results are the same bits.
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

    // The bit reversal as a list of swaps: complex point indices (i, j)
    // with j the reversal of i and i < j, so every pair is swapped once.
    std::vector<int> reversalSwaps;
    // Twiddles of every radix-4 stage after the first, already rotated into
    // the right quadrant: for each pair of neighbouring butterflies k, k+1
    // and each of w^k, w^2k, w^3k, the real parts as (c_k, c_k, c_k+1,
    // c_k+1) and the imaginary parts as (-s_k, s_k, -s_k+1, s_k+1).
    std::vector<float> stageTwiddles;
    // The real split step's factor y = (yr, yi) for every k, laid out the
    // same way for pairs of neighbouring k.
    std::vector<float> splitTwiddles;
};
