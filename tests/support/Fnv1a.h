#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// The checksum that golden renders lock output bits with: FNV-1a 64 over
// the bit patterns of count floats, each as four bytes from the least
// significant, continuing from hash (fnv1aStart for a new checksum).
constexpr uint64_t fnv1aStart = 0xcbf29ce484222325ull;

inline uint64_t fnv1a(const float* samples, std::size_t count, uint64_t hash)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        uint32_t bits;
        std::memcpy(&bits, &samples[i], sizeof bits);
        for (int byte = 0; byte < 4; ++byte)
        {
            hash ^= (bits >> (8 * byte)) & 0xFFu;
            hash *= 0x100000001b3ull;
        }
    }
    return hash;
}
