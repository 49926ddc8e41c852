#pragma once

#include "blocks/C1LPF.h"

// Complementary high-pass: the input minus the one-pole low-pass.
class C1HPF : public C1LPF
{
public:
    C1HPF() = default;

    void process(float* sample) override;
};
