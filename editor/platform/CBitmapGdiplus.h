#pragma once

#include "GdiplusSession.h"

#include <memory>

// A bitmap's pixels as a GDI+ bitmap (32-bit with alpha).
class CPlatformBitmap
{
public:
    explicit CPlatformBitmap(std::unique_ptr<Gdiplus::Bitmap> pixels) : pixels(std::move(pixels)) {}

    Gdiplus::Bitmap* getBitmap() const { return pixels.get(); }

private:
    // Declared first: GDI+ stays up until the pixels are gone.
    std::shared_ptr<void> session = acquireGdiplus();
    std::unique_ptr<Gdiplus::Bitmap> pixels;
};
