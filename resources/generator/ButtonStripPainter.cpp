#include "ButtonStripPainter.h"

#include "CairoImage.h"
#include "PanelColours.h"

namespace
{
constexpr double pi = CairoImage::pi;
}

ButtonStripPainter::ButtonStripPainter(int frameSize, Kind kind) : frameSize(frameSize), kind(kind)
{
}

bool ButtonStripPainter::save(const std::string& path) const
{
    CairoImage image(CAIRO_FORMAT_ARGB32, frameSize, 2 * frameSize);
    cairo_t* cr = image.context();
    for (int frame = 0; frame < 2; ++frame)
    {
        cairo_save(cr);
        cairo_translate(cr, 0.0, static_cast<double>(frame) * frameSize);
        if (kind == Kind::switchLamp)
        {
            paintSwitch(cr, frame == 1);
        }
        else
        {
            paintInformation(cr, frame == 1);
        }
        cairo_restore(cr);
    }
    return image.writePng(path);
}

void ButtonStripPainter::paintSwitch(cairo_t* cr, bool on) const
{
    const double size = frameSize;
    // Bezel: a dark square cut into the panel with a light lower edge.
    CairoImage::roundedRectangle(cr, 1.0, 1.0, size - 2.0, size - 2.0, 3.0);
    setColour(cr, PanelColours::bevelLight, 0.7);
    cairo_fill(cr);
    CairoImage::roundedRectangle(cr, 1.0, 1.0, size - 2.0, size - 3.0, 3.0);
    setColour(cr, PanelColours::wellEdge);
    cairo_fill(cr);

    // Cap.
    cairo_pattern_t* cap = cairo_pattern_create_linear(0.0, 2.0, 0.0, size - 2.0);
    if (on)
    {
        cairo_pattern_add_color_stop_rgb(cap, 0.0, 0.30, 0.33, 0.35);
        cairo_pattern_add_color_stop_rgb(cap, 1.0, 0.18, 0.20, 0.21);
    }
    else
    {
        cairo_pattern_add_color_stop_rgb(cap, 0.0, 0.36, 0.39, 0.42);
        cairo_pattern_add_color_stop_rgb(cap, 1.0, 0.20, 0.22, 0.24);
    }
    CairoImage::roundedRectangle(cr, 3.0, 3.0, size - 6.0, size - 7.0, 2.0);
    cairo_set_source(cr, cap);
    cairo_fill(cr);
    cairo_pattern_destroy(cap);

    // Lamp: lit accent with a glow when on, a dark lens when off.
    const double cx = size / 2.0;
    const double cy = size / 2.0 - 0.5;
    if (on)
    {
        cairo_pattern_t* glow = cairo_pattern_create_radial(cx, cy, 1.0, cx, cy, 6.0);
        cairo_pattern_add_color_stop_rgba(glow, 0.0, 0.90, 1.0, 0.55, 1.0);
        cairo_pattern_add_color_stop_rgba(glow, 0.45, PanelColours::accent.red, PanelColours::accent.green,
                                          PanelColours::accent.blue, 1.0);
        cairo_pattern_add_color_stop_rgba(glow, 1.0, PanelColours::accent.red, PanelColours::accent.green,
                                          PanelColours::accent.blue, 0.0);
        cairo_set_source(cr, glow);
        cairo_arc(cr, cx, cy, 6.0, 0.0, 2.0 * pi);
        cairo_fill(cr);
        cairo_pattern_destroy(glow);
    }
    else
    {
        cairo_arc(cr, cx, cy, 3.0, 0.0, 2.0 * pi);
        setColour(cr, PanelColours::accentDim, 0.45);
        cairo_fill_preserve(cr);
        cairo_set_line_width(cr, 1.0);
        setColour(cr, PanelColours::wellEdge, 0.8);
        cairo_stroke(cr);
    }
}

void ButtonStripPainter::paintInformation(cairo_t* cr, bool pressed) const
{
    const double size = frameSize;
    const double c = size / 2.0;
    const double r = size / 2.0 - 1.5;
    cairo_arc(cr, c, c, r, 0.0, 2.0 * pi);
    if (pressed)
    {
        setColour(cr, PanelColours::accent);
        cairo_fill(cr);
    }
    else
    {
        setColour(cr, PanelColours::well);
        cairo_fill_preserve(cr);
        cairo_set_line_width(cr, 1.5);
        setColour(cr, PanelColours::accent, 0.85);
        cairo_stroke(cr);
    }

    // The letter i: a dot and a stem.
    if (pressed)
    {
        setColour(cr, PanelColours::well);
    }
    else
    {
        setColour(cr, PanelColours::accent);
    }
    cairo_arc(cr, c, c - 4.0, 1.4, 0.0, 2.0 * pi);
    cairo_fill(cr);
    cairo_rectangle(cr, c - 1.1, c - 1.5, 2.2, 7.0);
    cairo_fill(cr);
}
