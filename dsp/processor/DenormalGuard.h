#pragma once

// Sets flush-to-zero and denormals-are-zero for its lifetime and restores
// the caller's floating-point control word afterwards, so that decaying
// filters and envelopes never fall into slow denormal arithmetic.
class DenormalGuard
{
public:
    DenormalGuard();
    ~DenormalGuard();
    DenormalGuard(const DenormalGuard&) = delete;
    DenormalGuard& operator=(const DenormalGuard&) = delete;

private:
    unsigned saved;
};
