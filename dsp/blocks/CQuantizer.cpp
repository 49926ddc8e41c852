#include "blocks/CQuantizer.h"

#include "blocks/CExactMath.h"
#include "blocks/CQuantizerLanes.h"
#include "blocks/SampleRateRange.h"

#include <algorithm>
#include <cmath>

namespace
{
// Rates from here up put the shaped noise above 15 kHz; below it the shelf
// sits at 300 Hz.
constexpr float highRateThreshold = 40000.0f;
constexpr float twoPi = 6.2831855f;
}

CQuantizer::CQuantizer()
    : sampleRate(44100.0f), bits(-1), shaping(0.0f)
{
    updateCoefficients();
    clear();
}

void CQuantizer::process(float* sample)
{
    if (bits <= 0)
        return;
    CQuantizer* const self = this;
    Lanes lanes(&self, 1);
    *sample = _mm_cvtss_f32(lanes.quantize(_mm_set_ss(*sample), _mm_set_ss(drawDither())));
    lanes.finish();
}

void CQuantizer::clear()
{
    s0 = 0.0f;
    s1 = 0.0f;
    s2 = 0.0f;
}

void CQuantizer::setWordLength(int8_t wordLength)
{
    if (wordLength == bits)
        return;
    bits = wordLength;
    updateCoefficients();
    clear();
}

void CQuantizer::setShaping(float amount)
{
    // Written as "neither less nor greater" so that a NaN changes nothing.
    if (!(amount < shaping) && !(amount > shaping))
        return;
    shaping = amount;
    updateCoefficients();
    clear();
}

void CQuantizer::setRate(float fs)
{
    fs = clampSampleRate(fs);
    if (fs == sampleRate)
        return;
    sampleRate = fs;
    updateCoefficients();
    clear();
}

void CQuantizer::updateCoefficients()
{
    if (bits >= 3)
    {
        // 2^(bits-1) steps per unit; ldexp stays defined for any int8 length.
        scale = std::ldexp(1.0f, bits - 1);
        invScale = 1.0f / scale;
    }
    else
    {
        scale = 1.0f;
        invScale = 1.0f;
    }

    // The noise transfer 1 - E(z) follows a low shelf: at high rates the
    // noise is pushed above 15 kHz, at low rates a broad 300 Hz shelf.
    float gainDb;
    float corner;
    float q;
    if (highRateThreshold > sampleRate)
    {
        gainDb = 20.0f * shaping;
        corner = 300.0f;
        q = 0.3f;
    }
    else
    {
        gainDb = -30.0f * shaping;
        corner = 15000.0f;
        q = 1.5f;
    }

    const float A = CExactMath::exp10(gainDb / 40.0f);
    const float w = twoPi * corner / sampleRate;
    const float cs = CExactMath::cos(w);
    const float sn = CExactMath::sin(w);
    const float alpha = sn / (2.0f * q);
    const float r = 2.0f * std::sqrt(A);

    const float b0 = A * ((A + 1.0f) - (A - 1.0f) * cs + r * alpha);
    const float b1 = 2.0f * A * ((A - 1.0f) - (A + 1.0f) * cs);
    const float b2 = A * ((A + 1.0f) - (A - 1.0f) * cs - r * alpha);
    const float a0 = (A + 1.0f) + (A - 1.0f) * cs + r * alpha;
    const float a1Raw = -2.0f * ((A - 1.0f) + (A + 1.0f) * cs);
    const float a2Raw = (A + 1.0f) + (A - 1.0f) * cs - r * alpha;

    const float invA0 = 1.0f / a0;
    const float b0n = b0 * invA0;
    const float b1n = b1 * invA0;
    const float b2n = b2 * invA0;
    a1 = a1Raw * invA0;
    a2 = a2Raw * invA0;

    // E(z) = (c1 z^-1 + c2 z^-2) / (1 + a1 z^-1 + a2 z^-2), so that
    // 1 - E(z) is the shelf divided by its leading coefficient.
    const float invB0n = 1.0f / b0n;
    c1 = -b1n * invB0n + a1;
    c2 = -b2n * invB0n + a2;
}
