#pragma once

#include <windows.h>

#include <objidl.h>

#include <gdiplus.h>

#include <memory>

// GDI+ started for as long as any holder keeps the result: bitmaps and
// paints hold it, so the module starts it with its first editor and shuts it
// down with its last, never while a host's other modules might still be in
// a call.
std::shared_ptr<void> acquireGdiplus();
