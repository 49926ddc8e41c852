#pragma once

#include "CColor.h"
#include "CFontDesc.h"
#include "CRect.h"

class CBitmap;

// The back end's drawing target: a Cairo context on X11, a GDI+ graphics
// with its saved state on Windows.
class CPlatformContext;

// What the views draw with. The platform's back end (platform/) defines the
// operations, as it defines the bitmaps' pixels; only one is built.
// Coordinates are the current view's own: the frame enters a view's area
// (its top left corner becomes 0, 0 and nothing is drawn outside it) before
// the view draws.
class CDrawContext
{
public:
    enum class Align
    {
        left,
        centre,
        right
    };

    explicit CDrawContext(CPlatformContext& platform) : platform(platform) {}

    void fillRect(double left, double top, double right, double bottom, const CColor& colour);
    // One pixel row from left to right.
    void drawHorizontalLine(double left, double right, double row, const CColor& colour);
    // Text vertically centred in the rectangle and aligned inside it.
    void drawString(const char* text, const CRect& rect, const CFontDesc& font, const CColor& colour, Align align);
    // Frame `frame` (0 at the top) of height frameHeight of a film strip,
    // with its alpha, its top left corner at (x, y).
    void drawBitmap(const CBitmap& bitmap, double x, double y, int frame, int frameHeight);

    // Area in the window's coordinates; areas do not nest.
    void enterArea(const CRect& area);
    void leaveArea();

private:
    CPlatformContext& platform;
};
