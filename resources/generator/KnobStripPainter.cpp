#include "KnobStripPainter.h"

#include "CairoImage.h"
#include "PanelColours.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr double pi = CairoImage::pi;
// Cairo's angles grow clockwise on screen (y points down): 0.75 pi is the
// bottom-left end of the sweep, 2.25 pi the bottom-right one.
const double sweepStart = 0.75 * pi;
const double sweepLength = 1.5 * pi;
}

KnobStripPainter::KnobStripPainter(int frameSize, int frameCount, Style style)
    : frameSize(frameSize), frameCount(frameCount), style(style)
{
    const double size = frameSize;
    centreX = size / 2.0;
    if (style == Style::small)
    {
        // The bottom 17 rows stay free for the value text.
        centreY = size * 0.39;
        trackRadius = size * 0.325;
        trackWidth = 4.0;
        bodyRadius = size * 0.245;
    }
    else
    {
        centreY = size / 2.0;
        trackRadius = size * 0.415;
        trackWidth = 6.0;
        bodyRadius = size * 0.345;
    }
}

bool KnobStripPainter::save(const std::string& path) const
{
    CairoImage image(CAIRO_FORMAT_ARGB32, frameSize, frameSize * frameCount);
    cairo_t* cr = image.context();
    for (int i = 0; i < frameCount; ++i)
    {
        cairo_save(cr);
        cairo_translate(cr, 0.0, static_cast<double>(i) * frameSize);
        cairo_rectangle(cr, 0.0, 0.0, frameSize, frameSize);
        cairo_clip(cr);
        paintFrame(cr, static_cast<double>(i) / (frameCount - 1));
        cairo_restore(cr);
    }
    return image.writePng(path);
}

void KnobStripPainter::paintFrame(cairo_t* cr, double value) const
{
    paintTrack(cr, value);
    paintBody(cr, value);
}

void KnobStripPainter::paintTrack(cairo_t* cr, double value) const
{
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_BUTT);

    // Scale ticks just outside the track: 11 on the large knob (every 4 dB
    // of the gain range), 5 on the small ones.
    const int ticks = style == Style::largeBipolar ? 11 : 5;
    const double tickInner = trackRadius + trackWidth * 0.5 + 1.5;
    const double tickOuter = tickInner + (style == Style::largeBipolar ? 4.0 : 2.5);
    cairo_set_line_width(cr, 1.0);
    for (int i = 0; i < ticks; ++i)
    {
        const double angle = sweepStart + sweepLength * i / (ticks - 1);
        const bool centre = style == Style::largeBipolar && i == ticks / 2;
        setColour(cr, centre ? PanelColours::accent : PanelColours::legendFaint, centre ? 0.9 : 0.8);
        cairo_move_to(cr, centreX + tickInner * std::cos(angle), centreY + tickInner * std::sin(angle));
        cairo_line_to(cr, centreX + tickOuter * std::cos(angle), centreY + tickOuter * std::sin(angle));
        cairo_stroke(cr);
    }

    // The recessed groove, then its lit part.
    cairo_set_line_width(cr, trackWidth + 2.0);
    setColour(cr, PanelColours::wellEdge);
    cairo_arc(cr, centreX, centreY, trackRadius, sweepStart, sweepStart + sweepLength);
    cairo_stroke(cr);
    cairo_set_line_width(cr, trackWidth);
    setColour(cr, PanelColours::track);
    cairo_arc(cr, centreX, centreY, trackRadius, sweepStart, sweepStart + sweepLength);
    cairo_stroke(cr);

    const double valueAngle = sweepStart + sweepLength * value;
    double from = sweepStart;
    double to = valueAngle;
    if (style == Style::largeBipolar)
    {
        const double top = sweepStart + sweepLength * 0.5;
        from = std::min(top, valueAngle);
        to = std::max(top, valueAngle);
    }
    if (to - from > 1e-6)
    {
        // A soft halo under the lit arc, then the arc itself.
        cairo_set_line_width(cr, trackWidth + 3.0);
        setColour(cr, PanelColours::accent, 0.18);
        cairo_arc(cr, centreX, centreY, trackRadius, from, to);
        cairo_stroke(cr);
        cairo_set_line_width(cr, trackWidth - 1.0);
        setColour(cr, PanelColours::accent);
        cairo_arc(cr, centreX, centreY, trackRadius, from, to);
        cairo_stroke(cr);
    }
}

void KnobStripPainter::paintBody(cairo_t* cr, double value) const
{
    // Drop shadow below the body.
    cairo_pattern_t* shadow = cairo_pattern_create_radial(centreX, centreY + 2.0, bodyRadius * 0.8, centreX,
                                                          centreY + 2.0, bodyRadius + 4.0);
    cairo_pattern_add_color_stop_rgba(shadow, 0.0, 0.0, 0.0, 0.0, 0.6);
    cairo_pattern_add_color_stop_rgba(shadow, 1.0, 0.0, 0.0, 0.0, 0.0);
    cairo_set_source(cr, shadow);
    cairo_arc(cr, centreX, centreY + 2.0, bodyRadius + 4.0, 0.0, 2.0 * pi);
    cairo_fill(cr);
    cairo_pattern_destroy(shadow);

    // Body lit from above left.
    cairo_pattern_t* body = cairo_pattern_create_linear(centreX - bodyRadius, centreY - bodyRadius,
                                                        centreX + bodyRadius, centreY + bodyRadius);
    const PanelColours::Colour& light = PanelColours::knobBodyLight;
    const PanelColours::Colour& dark = PanelColours::knobBodyDark;
    cairo_pattern_add_color_stop_rgb(body, 0.0, light.red, light.green, light.blue);
    cairo_pattern_add_color_stop_rgb(body, 1.0, dark.red, dark.green, dark.blue);
    cairo_set_source(cr, body);
    cairo_arc(cr, centreX, centreY, bodyRadius, 0.0, 2.0 * pi);
    cairo_fill(cr);
    cairo_pattern_destroy(body);

    // Machined face: a slightly darker disc with a thin bright rim.
    const double faceRadius = bodyRadius * (style == Style::largeBipolar ? 0.86 : 0.8);
    cairo_pattern_t* face = cairo_pattern_create_linear(centreX, centreY - faceRadius, centreX,
                                                        centreY + faceRadius);
    if (style == Style::largeBipolar)
    {
        // Dark enough for the value text the editor prints across the middle.
        cairo_pattern_add_color_stop_rgb(face, 0.0, 0.13, 0.145, 0.155);
        cairo_pattern_add_color_stop_rgb(face, 1.0, 0.07, 0.075, 0.08);
    }
    else
    {
        cairo_pattern_add_color_stop_rgb(face, 0.0, 0.25, 0.27, 0.29);
        cairo_pattern_add_color_stop_rgb(face, 1.0, 0.15, 0.16, 0.175);
    }
    cairo_set_source(cr, face);
    cairo_arc(cr, centreX, centreY, faceRadius, 0.0, 2.0 * pi);
    cairo_fill_preserve(cr);
    cairo_set_line_width(cr, 1.0);
    cairo_set_source_rgba(cr, 1.0, 1.0, 1.0, 0.10);
    cairo_stroke(cr);

    // Pointer: a line on the small knobs, a lit dot on the large one (its
    // middle carries the value text).
    const double angle = sweepStart + sweepLength * value;
    const double dx = std::cos(angle);
    const double dy = std::sin(angle);
    setColour(cr, PanelColours::accent);
    if (style == Style::largeBipolar)
    {
        const double r = (faceRadius + bodyRadius) * 0.5;
        cairo_arc(cr, centreX + r * dx, centreY + r * dy, 3.0, 0.0, 2.0 * pi);
        cairo_fill(cr);
    }
    else
    {
        cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
        cairo_set_line_width(cr, 2.5);
        cairo_move_to(cr, centreX + bodyRadius * 0.3 * dx, centreY + bodyRadius * 0.3 * dy);
        cairo_line_to(cr, centreX + bodyRadius * 0.92 * dx, centreY + bodyRadius * 0.92 * dy);
        cairo_stroke(cr);
    }
}
