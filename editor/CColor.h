#pragma once

#include <cstdint>

// A colour as red, green, blue and alpha bytes.
struct CColor
{
    uint8_t red;
    uint8_t green;
    uint8_t blue;
    uint8_t alpha;
};
