#pragma once

#include <cstddef>

// The editor's PNG bitmaps, compiled into the module at build time.
struct BitmapResource
{
    const char* name;
    const unsigned char* bytes;
    std::size_t size;
};

// The bitmap with this file name (for example "knob.png"); null when the
// module has none of that name.
const BitmapResource* findBitmapResource(const char* name);
