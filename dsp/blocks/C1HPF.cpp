#include "blocks/C1HPF.h"

float C1HPF::getPowerResponse(float fn) const
{
    return 1.0f - C1LPF::getPowerResponse(fn);
}
