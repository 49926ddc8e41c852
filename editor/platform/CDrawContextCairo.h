#pragma once

#include "CDrawContext.h"

#include <cairo.h>

// Drawing on a Cairo context (the window's paint on X11).
class CDrawContextCairo : public CDrawContext
{
public:
    explicit CDrawContextCairo(cairo_t* cr) : cr(cr) {}

    void fillRect(double left, double top, double right, double bottom, const CColor& colour) override;
    void drawHorizontalLine(double left, double right, double row, const CColor& colour) override;
    void drawString(const char* text, const CRect& rect, const CFontDesc& font, const CColor& colour,
                    Align align) override;
    void drawBitmap(const CBitmap& bitmap, double x, double y, int frame, int frameHeight) override;
    void enterArea(const CRect& area) override;
    void leaveArea() override;

private:
    void setSource(const CColor& colour);

    cairo_t* cr;
};
