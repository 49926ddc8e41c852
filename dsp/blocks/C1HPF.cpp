#include "blocks/C1HPF.h"

void C1HPF::process(float* sample)
{
    const float x = *sample;
    state = pole * (state - x) + x;
    *sample = x - state;
}

float C1HPF::getPowerResponse(float fn) const
{
    return 1.0f - C1LPF::getPowerResponse(fn);
}
