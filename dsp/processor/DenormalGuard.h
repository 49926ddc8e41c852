#pragma once

#include <xmmintrin.h>

// Sets flush-to-zero and denormals-are-zero for its lifetime and restores
// the caller's floating-point control word afterwards, so that decaying
// filters and envelopes never fall into slow denormal arithmetic.
class DenormalGuard
{
public:
    DenormalGuard() : saved(_mm_getcsr()) { _mm_setcsr(saved | flushToZero | denormalsAreZero); }
    ~DenormalGuard() { _mm_setcsr(saved); }
    DenormalGuard(const DenormalGuard&) = delete;
    DenormalGuard& operator=(const DenormalGuard&) = delete;

private:
    static constexpr unsigned flushToZero = 0x8000;
    static constexpr unsigned denormalsAreZero = 0x0040;
    unsigned saved;
};
