#include "CBitmap.h"

#include "BitmapResources.h"
#include "CBitmapCairo.h"

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

CBitmap::CBitmap(const char* resourceName) : width(0), height(0)
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
    platformBitmap.reset(new CPlatformBitmap(loaded));
    width = cairo_image_surface_get_width(loaded);
    height = cairo_image_surface_get_height(loaded);
}

CBitmap::~CBitmap() = default;
