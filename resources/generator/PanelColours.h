#pragma once

#include <cairo.h>

// The panel's palette, shared by everything the generator draws. The accent
// is the controls' text colour (194, 250, 5), so the painted legends and the
// live readouts read as one instrument.
namespace PanelColours
{
struct Colour
{
    double red;
    double green;
    double blue;
};

constexpr Colour rgb(int red, int green, int blue)
{
    return {red / 255.0, green / 255.0, blue / 255.0};
}

inline void setColour(cairo_t* cr, const Colour& c, double alpha = 1.0)
{
    cairo_set_source_rgba(cr, c.red, c.green, c.blue, alpha);
}

constexpr Colour accent = rgb(194, 250, 5);
constexpr Colour accentDim = rgb(100, 120, 20);
constexpr Colour legend = rgb(168, 178, 160);
constexpr Colour legendFaint = rgb(112, 120, 108);
constexpr Colour panelTop = rgb(44, 48, 52);
constexpr Colour panelBottom = rgb(26, 28, 31);
constexpr Colour well = rgb(10, 12, 11);
constexpr Colour wellEdge = rgb(4, 5, 5);
constexpr Colour bevelLight = rgb(74, 80, 86);
constexpr Colour knobBodyLight = rgb(78, 84, 90);
constexpr Colour knobBodyDark = rgb(28, 31, 34);
constexpr Colour track = rgb(16, 18, 18);

// The panel's typeface: present on every Debian desktop (fonts-dejavu-core).
constexpr const char* fontFamily = "DejaVu Sans";
}
