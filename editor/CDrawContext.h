#pragma once

#include "CColor.h"
#include "CFontDesc.h"
#include "CRect.h"

class CBitmap;

// What the views draw with, one back end per platform. Coordinates are the
// current view's own: the frame enters a view's area (its top left corner
// becomes 0, 0 and nothing is drawn outside it) before the view draws.
class CDrawContext
{
public:
    enum class Align
    {
        left,
        centre,
        right
    };

    virtual ~CDrawContext() = default;

    virtual void fillRect(double left, double top, double right, double bottom, const CColor& colour) = 0;
    // One pixel row from left to right.
    virtual void drawHorizontalLine(double left, double right, double row, const CColor& colour) = 0;
    // Text vertically centred in the rectangle and aligned inside it.
    virtual void drawString(const char* text, const CRect& rect, const CFontDesc& font, const CColor& colour,
                            Align align) = 0;
    // Frame `frame` (0 at the top) of height frameHeight of a film strip,
    // with its alpha, its top left corner at (x, y).
    virtual void drawBitmap(const CBitmap& bitmap, double x, double y, int frame, int frameHeight) = 0;

    // Area in the window's coordinates; areas do not nest.
    virtual void enterArea(const CRect& area) = 0;
    virtual void leaveArea() = 0;
};
