#include "CDrawContext.h"

#include "CBitmap.h"
#include "CBitmapCairo.h"
#include "CFrame.h"
#include "PuglDrawing.h"

extern "C" {
#include <pugl/cairo.h>
}

#include <cmath>

// Drawing on the Cairo context of the window's paint.
class CPlatformContext
{
public:
    explicit CPlatformContext(cairo_t* cr) : cr(cr) {}

    cairo_t* const cr;
};

namespace
{
void setSource(cairo_t* cr, const CColor& colour)
{
    cairo_set_source_rgba(cr, colour.red / 255.0, colour.green / 255.0, colour.blue / 255.0, colour.alpha / 255.0);
}
}

void CDrawContext::fillRect(double left, double top, double right, double bottom, const CColor& colour)
{
    cairo_t* const cr = platform.cr;
    if (right <= left || bottom <= top)
    {
        return;
    }
    setSource(cr, colour);
    cairo_rectangle(cr, left, top, right - left, bottom - top);
    cairo_fill(cr);
}

void CDrawContext::drawHorizontalLine(double left, double right, double row, const CColor& colour)
{
    cairo_t* const cr = platform.cr;
    // One pixel row: a 1-wide stroke through the pixel centres.
    setSource(cr, colour);
    cairo_set_line_width(cr, 1.0);
    cairo_move_to(cr, left, row + 0.5);
    cairo_line_to(cr, right, row + 0.5);
    cairo_stroke(cr);
}

void CDrawContext::drawString(const char* text, const CRect& rect, const CFontDesc& font, const CColor& colour,
                              Align align)
{
    cairo_t* const cr = platform.cr;
    if (!text || !*text)
    {
        return;
    }
    cairo_select_font_face(cr, font.family, CAIRO_FONT_SLANT_NORMAL,
                           font.bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, font.size);
    cairo_text_extents_t extents;
    cairo_text_extents(cr, text, &extents);
    cairo_font_extents_t fontExtents;
    cairo_font_extents(cr, &fontExtents);

    double x = rect.left;
    if (align == Align::centre)
    {
        x = rect.left + (rect.width() - extents.x_advance) / 2.0;
    }
    else if (align == Align::right)
    {
        x = rect.right - extents.x_advance;
    }
    // Centre the capital height (ascent less the descent's share) in the box.
    const double y = rect.top + (rect.height() + fontExtents.ascent - fontExtents.descent) / 2.0;
    setSource(cr, colour);
    cairo_move_to(cr, std::round(x), std::round(y));
    cairo_show_text(cr, text);
}

void CDrawContext::drawBitmap(const CBitmap& bitmap, double x, double y, int frame, int frameHeight)
{
    cairo_t* const cr = platform.cr;
    const CPlatformBitmap* pixels = bitmap.getPlatformBitmap();
    if (!pixels || frameHeight <= 0)
    {
        return;
    }
    cairo_save(cr);
    cairo_rectangle(cr, x, y, bitmap.getWidth(), frameHeight);
    cairo_clip(cr);
    cairo_set_source_surface(cr, pixels->getSurface(), x, y - static_cast<double>(frame) * frameHeight);
    cairo_paint(cr);
    cairo_restore(cr);
}

void CDrawContext::enterArea(const CRect& area)
{
    cairo_t* const cr = platform.cr;
    cairo_save(cr);
    cairo_translate(cr, area.left, area.top);
    cairo_rectangle(cr, 0.0, 0.0, area.width(), area.height());
    cairo_clip(cr);
}

void CDrawContext::leaveArea()
{
    cairo_restore(platform.cr);
}

const PuglBackend* getPuglDrawingBackend()
{
    return puglCairoBackend();
}

void paintExposedView(PuglView* view, CFrame& frame)
{
    CPlatformContext platform(static_cast<cairo_t*>(puglGetContext(view)));
    CDrawContext context(platform);
    frame.paint(context);
}
