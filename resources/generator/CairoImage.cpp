#include "CairoImage.h"

CairoImage::CairoImage(cairo_format_t format, int width, int height)
    : surface(cairo_image_surface_create(format, width, height), &cairo_surface_destroy)
    , cr(cairo_create(surface.get()), &cairo_destroy)
{
}

bool CairoImage::writePng(const std::string& path) const
{
    return cairo_surface_write_to_png(surface.get(), path.c_str()) == CAIRO_STATUS_SUCCESS;
}

void CairoImage::roundedRectangle(cairo_t* cr, double x, double y, double w, double h, double r)
{
    cairo_new_sub_path(cr);
    cairo_arc(cr, x + w - r, y + r, r, -0.5 * pi, 0.0);
    cairo_arc(cr, x + w - r, y + h - r, r, 0.0, 0.5 * pi);
    cairo_arc(cr, x + r, y + h - r, r, 0.5 * pi, pi);
    cairo_arc(cr, x + r, y + r, r, pi, 1.5 * pi);
    cairo_close_path(cr);
}
