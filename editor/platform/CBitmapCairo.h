#pragma once

#include <cairo.h>

// A bitmap's pixels as a Cairo image surface.
class CPlatformBitmap
{
public:
    explicit CPlatformBitmap(cairo_surface_t* surface) : surface(surface) {}
    ~CPlatformBitmap() { cairo_surface_destroy(surface); }
    CPlatformBitmap(const CPlatformBitmap&) = delete;
    CPlatformBitmap& operator=(const CPlatformBitmap&) = delete;

    cairo_surface_t* getSurface() const { return surface; }

private:
    cairo_surface_t* surface;
};
