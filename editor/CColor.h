#pragma once

#include <cairo.h>

#include <cstdint>

// A colour as red, green, blue and alpha bytes.
struct CColor
{
    uint8_t red;
    uint8_t green;
    uint8_t blue;
    uint8_t alpha;

    void setSource(cairo_t* cr) const
    {
        cairo_set_source_rgba(cr, red / 255.0, green / 255.0, blue / 255.0, alpha / 255.0);
    }
};
