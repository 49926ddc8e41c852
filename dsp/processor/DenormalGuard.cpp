#include "processor/DenormalGuard.h"

#include <xmmintrin.h>

namespace
{
constexpr unsigned flushToZero = 0x8000;
constexpr unsigned denormalsAreZero = 0x0040;
}

DenormalGuard::DenormalGuard() : saved(_mm_getcsr())
{
    _mm_setcsr(saved | flushToZero | denormalsAreZero);
}

DenormalGuard::~DenormalGuard()
{
    _mm_setcsr(saved);
}
