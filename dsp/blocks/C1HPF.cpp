#include "blocks/C1HPF.h"

#include "blocks/C1LPFLanes.h"

void C1HPF::process(float* sample)
{
    C1LPF* const self = this;
    Lanes lanes(&self, 1);
    *sample = _mm_cvtss_f32(lanes.highpass(_mm_set_ss(*sample)));
    lanes.finish();
}
