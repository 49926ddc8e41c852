#pragma once

#include "blocks/C1LPF.h"

// Complementary high-pass: the input minus the one-pole low-pass.
class C1HPF : public C1LPF
{
public:
    C1HPF() = default;

    void process(float* sample) override
    {
        C1LPF* const self = this;
        Lanes lanes(&self, 1);
        *sample = _mm_cvtss_f32(lanes.highpass(_mm_set_ss(*sample)));
        lanes.finish();
    }
};
