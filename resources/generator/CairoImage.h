#pragma once

#include <cairo.h>

#include <memory>
#include <string>

// An image surface with its drawing context, written out as a PNG: what each
// painter draws into.
class CairoImage
{
public:
    CairoImage(cairo_format_t format, int width, int height);

    cairo_t* context() const { return cr.get(); }

    // False when Cairo could not write the file.
    bool writePng(const std::string& path) const;

    static constexpr double pi = 3.14159265358979323846;

    // Adds a closed path: the rectangle with its corners rounded by r.
    static void roundedRectangle(cairo_t* cr, double x, double y, double w, double h, double r);

private:
    // The context goes first: it holds a reference to the surface.
    std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> surface;
    std::unique_ptr<cairo_t, decltype(&cairo_destroy)> cr;
};
