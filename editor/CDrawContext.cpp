#include "CDrawContext.h"

#include <cmath>

void CDrawContext::fillRect(double left, double top, double right, double bottom, const CColor& colour) const
{
    if (right <= left || bottom <= top)
    {
        return;
    }
    colour.setSource(cr);
    cairo_rectangle(cr, left, top, right - left, bottom - top);
    cairo_fill(cr);
}

void CDrawContext::drawHorizontalLine(double left, double right, double row, const CColor& colour) const
{
    // One pixel row: a 1-wide stroke through the pixel centres.
    colour.setSource(cr);
    cairo_set_line_width(cr, 1.0);
    cairo_move_to(cr, left, row + 0.5);
    cairo_line_to(cr, right, row + 0.5);
    cairo_stroke(cr);
}

void CDrawContext::drawString(const char* text, const CRect& rect, const CFontDesc& font, const CColor& colour,
                              Align align) const
{
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
    colour.setSource(cr);
    cairo_move_to(cr, std::round(x), std::round(y));
    cairo_show_text(cr, text);
}
