#include "CBitmap.h"

#include "BitmapResources.h"
#include "CBitmapGdiplus.h"

#include <shlwapi.h>

std::shared_ptr<void> acquireGdiplus()
{
    static std::weak_ptr<void> running;
    std::shared_ptr<void> session = running.lock();
    if (!session)
    {
        Gdiplus::GdiplusStartupInput input;
        ULONG_PTR token = 0;
        if (Gdiplus::GdiplusStartup(&token, &input, nullptr) != Gdiplus::Ok)
        {
            return nullptr;
        }
        session = std::shared_ptr<void>(reinterpret_cast<void*>(token),
                                        [](void* started) { Gdiplus::GdiplusShutdown(reinterpret_cast<ULONG_PTR>(started)); });
        running = session;
    }
    return session;
}

CBitmap::CBitmap(const char* resourceName) : width(0), height(0)
{
    const BitmapResource* resource = findBitmapResource(resourceName);
    const std::shared_ptr<void> session = acquireGdiplus();
    if (!resource || !session)
    {
        return;
    }
    IStream* stream = SHCreateMemStream(resource->bytes, static_cast<UINT>(resource->size));
    if (!stream)
    {
        return;
    }
    std::unique_ptr<Gdiplus::Bitmap> decoded(Gdiplus::Bitmap::FromStream(stream));
    stream->Release();
    if (!decoded || decoded->GetLastStatus() != Gdiplus::Ok)
    {
        return;
    }
    width = static_cast<int>(decoded->GetWidth());
    height = static_cast<int>(decoded->GetHeight());
    // Copied out of the stream into pixels of our own, premultiplied as
    // drawing wants them.
    std::unique_ptr<Gdiplus::Bitmap> pixels(new Gdiplus::Bitmap(width, height, PixelFormat32bppPARGB));
    {
        Gdiplus::Graphics copy(pixels.get());
        copy.DrawImage(decoded.get(), 0, 0, width, height);
    }
    platformBitmap.reset(new CPlatformBitmap(std::move(pixels)));
}

CBitmap::~CBitmap() = default;
