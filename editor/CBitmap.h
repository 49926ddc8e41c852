#pragma once

#include <memory>

// The back end's decoded pixels of a bitmap.
class CPlatformBitmap;

// A PNG bitmap of the module, loaded by name from its resources through the
// drawing back end. Film strips stack their frames top to bottom.
class CBitmap
{
public:
    // An unknown name or unreadable bytes give an empty bitmap (0 x 0) that
    // draws nothing.
    explicit CBitmap(const char* resourceName);
    ~CBitmap();
    CBitmap(const CBitmap&) = delete;
    CBitmap& operator=(const CBitmap&) = delete;

    bool isLoaded() const { return platformBitmap != nullptr; }
    int getWidth() const { return width; }
    int getHeight() const { return height; }
    const CPlatformBitmap* getPlatformBitmap() const { return platformBitmap.get(); }

private:
    std::unique_ptr<CPlatformBitmap> platformBitmap;
    int width;
    int height;
};
