#include "CBitmap.h"

#include "BitmapResources.h"

#include <cstring>

namespace
{
struct PngReader
{
    const unsigned char* bytes;
    std::size_t size;
    std::size_t position;
};

cairo_status_t readPng(void* closure, unsigned char* data, unsigned int length)
{
    PngReader& reader = *static_cast<PngReader*>(closure);
    if (reader.size - reader.position < length)
    {
        return CAIRO_STATUS_READ_ERROR;
    }
    std::memcpy(data, reader.bytes + reader.position, length);
    reader.position += length;
    return CAIRO_STATUS_SUCCESS;
}
}

CBitmap::CBitmap(const char* resourceName) : surface(nullptr), width(0), height(0)
{
    const BitmapResource* resource = findBitmapResource(resourceName);
    if (!resource)
    {
        return;
    }
    PngReader reader = {resource->bytes, resource->size, 0};
    cairo_surface_t* loaded = cairo_image_surface_create_from_png_stream(readPng, &reader);
    if (cairo_surface_status(loaded) != CAIRO_STATUS_SUCCESS)
    {
        cairo_surface_destroy(loaded);
        return;
    }
    surface = loaded;
    width = cairo_image_surface_get_width(surface);
    height = cairo_image_surface_get_height(surface);
}

CBitmap::~CBitmap()
{
    if (surface)
    {
        cairo_surface_destroy(surface);
    }
}

void CBitmap::drawFrame(cairo_t* cr, double x, double y, int frame, int frameHeight) const
{
    if (!surface || frameHeight <= 0)
    {
        return;
    }
    cairo_save(cr);
    cairo_rectangle(cr, x, y, width, frameHeight);
    cairo_clip(cr);
    cairo_set_source_surface(cr, surface, x, y - static_cast<double>(frame) * frameHeight);
    cairo_paint(cr);
    cairo_restore(cr);
}
