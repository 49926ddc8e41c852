#pragma once

#include <cstddef>

// The ITU-R BS.1770 K-weighting of one channel: a high shelf of about +4 dB
// above 1.7 kHz (the head's effect) followed by the revised low-frequency
// B-curve high-pass at 38 Hz, two biquads designed for any sample rate by the
// bilinear transform, run in double precision.
class KWeightingFilter
{
public:
    explicit KWeightingFilter(int sampleRate);

    void update(int sampleRate);
    // The sum of squares of the filtered samples of one channel of an
    // interleaved block.
    double process(const float* interleaved, int stride, size_t frames);
    void clear();

private:
    struct Biquad
    {
        double b0, b1, b2, a1, a2;
        double z1, z2;
        double run(double x)
        {
            const double y = b0 * x + z1;
            z1 = b1 * x - a1 * y + z2;
            z2 = b2 * x - a2 * y;
            return y;
        }
    };

    Biquad shelf;
    Biquad highPass;
};
