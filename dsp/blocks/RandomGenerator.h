#pragma once

#include <atomic>
#include <cstdint>

// The program's linear congruential generator: state*214013 + 2531011
// modulo 2^32.
namespace RandomGenerator
{
constexpr uint32_t multiplier = 214013u;
constexpr uint32_t increment = 2531011u;

constexpr uint32_t next(uint32_t state)
{
    return state * multiplier + increment;
}
}

// The two program-wide states the generator runs on, each zero when the
// module is loaded, never reseeded and shared by every instance without a
// lock (a race only reorders or repeats values): the quantizers' dither and
// the limiter's anti-denormal noise.
extern std::atomic<uint32_t> randState;
extern std::atomic<uint32_t> noiseSeed;
