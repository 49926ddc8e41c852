#include "KWeightingFilter.h"

#include <cmath>
#include <initializer_list>

namespace
{
// The published analogue prototypes of the two stages.
constexpr double shelfHz = 1681.974450955533;
constexpr double shelfGainDb = 3.999843853973347;
constexpr double shelfQ = 0.7071752369554196;
constexpr double shelfBandGainExponent = 0.4996667741545416;
constexpr double highPassHz = 38.13547087602444;
constexpr double highPassQ = 0.5003270373238773;
constexpr double pi = 3.14159265358979323846;
}

KWeightingFilter::KWeightingFilter(int sampleRate)
    : shelf()
    , highPass()
{
    update(sampleRate);
}

void KWeightingFilter::update(int sampleRate)
{
    double k = std::tan(pi * shelfHz / sampleRate);
    const double vh = std::pow(10.0, shelfGainDb / 20.0);
    const double vb = std::pow(vh, shelfBandGainExponent);
    double a0 = 1.0 + k / shelfQ + k * k;
    shelf.b0 = (vh + vb * k / shelfQ + k * k) / a0;
    shelf.b1 = 2.0 * (k * k - vh) / a0;
    shelf.b2 = (vh - vb * k / shelfQ + k * k) / a0;
    shelf.a1 = 2.0 * (k * k - 1.0) / a0;
    shelf.a2 = (1.0 - k / shelfQ + k * k) / a0;

    k = std::tan(pi * highPassHz / sampleRate);
    a0 = 1.0 + k / highPassQ + k * k;
    highPass.b0 = 1.0;
    highPass.b1 = -2.0;
    highPass.b2 = 1.0;
    highPass.a1 = 2.0 * (k * k - 1.0) / a0;
    highPass.a2 = (1.0 - k / highPassQ + k * k) / a0;
}

double KWeightingFilter::process(const float* interleaved, int stride, size_t frames)
{
    double sum = 0.0;
    for (size_t frame = 0; frame < frames; ++frame)
    {
        const double y = highPass.run(shelf.run(interleaved[frame * static_cast<size_t>(stride)]));
        sum += y * y;
    }
    // Long silence would otherwise let the state decay into denormals.
    for (double* state : {&shelf.z1, &shelf.z2, &highPass.z1, &highPass.z2})
    {
        *state = std::fabs(*state) < 1e-200 ? 0.0 : *state;
    }
    return sum;
}

void KWeightingFilter::clear()
{
    shelf.z1 = shelf.z2 = highPass.z1 = highPass.z2 = 0.0;
}
