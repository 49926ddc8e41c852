#pragma once

#include "CDrawContext.h"
#include "GdiplusSession.h"

// Drawing with GDI+ on a Graphics (the window's back buffer on Windows).
class CDrawContextGdiplus : public CDrawContext
{
public:
    explicit CDrawContextGdiplus(Gdiplus::Graphics& graphics) : graphics(graphics) {}

    void fillRect(double left, double top, double right, double bottom, const CColor& colour) override;
    void drawHorizontalLine(double left, double right, double row, const CColor& colour) override;
    void drawString(const char* text, const CRect& rect, const CFontDesc& font, const CColor& colour,
                    Align align) override;
    void drawBitmap(const CBitmap& bitmap, double x, double y, int frame, int frameHeight) override;
    void enterArea(const CRect& area) override;
    void leaveArea() override;

private:
    Gdiplus::Graphics& graphics;
    Gdiplus::GraphicsState saved = 0;
};
