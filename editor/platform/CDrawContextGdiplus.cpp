#include "CDrawContext.h"

#include "CBitmap.h"
#include "CBitmapGdiplus.h"
#include "CFrame.h"
#include "PuglDrawing.h"

// Our window back end (PuglGdiBackend.c).
extern "C" const PuglBackend* palisorneGdiBackend(void);

#include <cmath>
#include <string>

// Drawing with GDI+ on a graphics (the window's back buffer), and the state
// the current area saved.
class CPlatformContext
{
public:
    explicit CPlatformContext(Gdiplus::Graphics& graphics) : graphics(graphics) {}

    Gdiplus::Graphics& graphics;
    Gdiplus::GraphicsState saved = 0;
};

namespace
{
Gdiplus::Color toGdiplus(const CColor& colour)
{
    return Gdiplus::Color(colour.alpha, colour.red, colour.green, colour.blue);
}

Gdiplus::RectF toGdiplus(double left, double top, double right, double bottom)
{
    return Gdiplus::RectF(static_cast<Gdiplus::REAL>(left), static_cast<Gdiplus::REAL>(top),
                          static_cast<Gdiplus::REAL>(right - left), static_cast<Gdiplus::REAL>(bottom - top));
}

std::wstring widened(const char* text)
{
    const int length = MultiByteToWideChar(CP_UTF8, 0, text, -1, nullptr, 0);
    std::wstring wide(length > 0 ? static_cast<std::size_t>(length) : 1u, L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text, -1, &wide[0], length);
    wide.resize(wide.size() - 1);
    return wide;
}
}

void CDrawContext::fillRect(double left, double top, double right, double bottom, const CColor& colour)
{
    Gdiplus::Graphics& graphics = platform.graphics;
    if (right <= left || bottom <= top)
    {
        return;
    }
    Gdiplus::SolidBrush brush(toGdiplus(colour));
    graphics.FillRectangle(&brush, toGdiplus(left, top, right, bottom));
}

void CDrawContext::drawHorizontalLine(double left, double right, double row, const CColor& colour)
{
    // One pixel row: a filled 1-high rectangle, exactly on the pixel grid.
    fillRect(left, row, right, row + 1.0, colour);
}

void CDrawContext::drawString(const char* text, const CRect& rect, const CFontDesc& font, const CColor& colour,
                              Align align)
{
    Gdiplus::Graphics& graphics = platform.graphics;
    if (!text || !*text)
    {
        return;
    }
    const std::wstring family = widened(font.family);
    const INT style = font.bold ? Gdiplus::FontStyleBold : Gdiplus::FontStyleRegular;
    // A machine without the panel's typeface gets the system's sans serif
    // rather than no text.
    const Gdiplus::FontFamily named(family.c_str());
    const Gdiplus::FontFamily& faceFamily = named.IsAvailable() ? named : *Gdiplus::FontFamily::GenericSansSerif();
    // Sizes are in pixels, as on the other back end.
    Gdiplus::Font face(&faceFamily, static_cast<Gdiplus::REAL>(font.size), style, Gdiplus::UnitPixel);
    const double perDesignUnit = font.size / faceFamily.GetEmHeight(style);
    const double ascent = faceFamily.GetCellAscent(style) * perDesignUnit;
    const double descent = faceFamily.GetCellDescent(style) * perDesignUnit;

    // Placed as the other back end places it: the advance aligned in the
    // rectangle, the capital height (ascent less the descent's share)
    // centred in it, on whole pixels, never clipped to the rectangle.
    Gdiplus::StringFormat format(Gdiplus::StringFormat::GenericTypographic());
    format.SetFormatFlags(format.GetFormatFlags() | Gdiplus::StringFormatFlagsNoWrap |
                          Gdiplus::StringFormatFlagsNoClip | Gdiplus::StringFormatFlagsMeasureTrailingSpaces);
    const std::wstring wide = widened(text);
    Gdiplus::RectF bounds;
    graphics.MeasureString(wide.c_str(), static_cast<INT>(wide.size()), &face, Gdiplus::PointF(0.0f, 0.0f), &format,
                           &bounds);
    double x = rect.left;
    if (align == Align::centre)
    {
        x = rect.left + (rect.width() - bounds.Width) / 2.0;
    }
    else if (align == Align::right)
    {
        x = rect.right - bounds.Width;
    }
    const double baseline = rect.top + (rect.height() + ascent - descent) / 2.0;
    Gdiplus::SolidBrush brush(toGdiplus(colour));
    graphics.DrawString(wide.c_str(), static_cast<INT>(wide.size()), &face,
                        Gdiplus::PointF(static_cast<Gdiplus::REAL>(std::round(x)),
                                        static_cast<Gdiplus::REAL>(std::round(baseline) - ascent)),
                        &format, &brush);
}

void CDrawContext::drawBitmap(const CBitmap& bitmap, double x, double y, int frame, int frameHeight)
{
    Gdiplus::Graphics& graphics = platform.graphics;
    const CPlatformBitmap* pixels = bitmap.getPlatformBitmap();
    if (!pixels || frameHeight <= 0)
    {
        return;
    }
    const Gdiplus::Rect destination(static_cast<INT>(std::lround(x)), static_cast<INT>(std::lround(y)),
                                    bitmap.getWidth(), frameHeight);
    graphics.DrawImage(pixels->getBitmap(), destination, 0, frame * frameHeight, bitmap.getWidth(), frameHeight,
                       Gdiplus::UnitPixel);
}

void CDrawContext::enterArea(const CRect& area)
{
    Gdiplus::Graphics& graphics = platform.graphics;
    platform.saved = graphics.Save();
    graphics.TranslateTransform(static_cast<Gdiplus::REAL>(area.left), static_cast<Gdiplus::REAL>(area.top));
    graphics.IntersectClip(Gdiplus::RectF(0.0f, 0.0f, static_cast<Gdiplus::REAL>(area.width()),
                                          static_cast<Gdiplus::REAL>(area.height())));
}

void CDrawContext::leaveArea()
{
    platform.graphics.Restore(platform.saved);
}

const PuglBackend* getPuglDrawingBackend()
{
    return palisorneGdiBackend();
}

void paintExposedView(PuglView* view, CFrame& frame)
{
    const std::shared_ptr<void> session = acquireGdiplus();
    if (!session)
    {
        return;
    }
    // Painted whole into a back buffer, then copied: no flicker, and the
    // bitmaps' alpha blends over what is already drawn.
    HWND window = reinterpret_cast<HWND>(puglGetNativeView(view));
    Gdiplus::Bitmap buffer(frame.getWidth(), frame.getHeight(), PixelFormat32bppPARGB);
    {
        Gdiplus::Graphics graphics(&buffer);
        graphics.SetTextRenderingHint(Gdiplus::TextRenderingHintAntiAlias);
        graphics.SetPixelOffsetMode(Gdiplus::PixelOffsetModeHalf);
        CPlatformContext platform(graphics);
        CDrawContext context(platform);
        frame.paint(context);
    }
    HDC device = GetDC(window);
    {
        Gdiplus::Graphics screen(device);
        screen.DrawImage(&buffer, 0, 0, frame.getWidth(), frame.getHeight());
    }
    ReleaseDC(window, device);
}
