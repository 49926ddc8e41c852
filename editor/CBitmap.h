#pragma once

#include <cairo.h>

// A PNG bitmap of the module, loaded by name from the embedded resources.
// Film strips stack their frames top to bottom.
class CBitmap
{
public:
    // An unknown name or unreadable bytes give an empty bitmap (0 x 0) that
    // draws nothing.
    explicit CBitmap(const char* resourceName);
    ~CBitmap();
    CBitmap(const CBitmap&) = delete;
    CBitmap& operator=(const CBitmap&) = delete;

    bool isLoaded() const { return surface != nullptr; }
    int getWidth() const { return width; }
    int getHeight() const { return height; }

    // Paints frame `frame` (0 at the top) of height frameHeight with its top
    // left corner at (x, y).
    void drawFrame(cairo_t* cr, double x, double y, int frame, int frameHeight) const;

private:
    cairo_surface_t* surface;
    int width;
    int height;
};
