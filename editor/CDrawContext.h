#pragma once

#include "CColor.h"
#include "CFontDesc.h"
#include "CRect.h"

#include <cairo.h>

// Drawing of one control, in the control's own coordinates (its top left
// corner is 0, 0), on the Cairo context of the window's current paint.
class CDrawContext
{
public:
    enum class Align
    {
        left,
        centre,
        right
    };

    explicit CDrawContext(cairo_t* cr) : cr(cr) {}

    cairo_t* getCairo() const { return cr; }

    void fillRect(double left, double top, double right, double bottom, const CColor& colour) const;
    void drawHorizontalLine(double left, double right, double row, const CColor& colour) const;
    // Text vertically centred in the rectangle and aligned inside it.
    void drawString(const char* text, const CRect& rect, const CFontDesc& font, const CColor& colour,
                    Align align) const;

private:
    cairo_t* cr;
};
