#include "PanelPainter.h"

#include "CairoImage.h"
#include "EditorLayout.h"
#include "PanelColours.h"

#include <cmath>

namespace
{
constexpr double pi = CairoImage::pi;

enum class Align
{
    left,
    centre,
    right
};

// Text with its baseline at y; x is the left end, the centre or the right
// end. Letter spacing widens small capitals the way panel legends are cut.
void text(cairo_t* cr, const char* s, double x, double y, double size, bool bold, Align align,
          double spacing = 0.0)
{
    cairo_select_font_face(cr, PanelColours::fontFamily, CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, size);
    double width = 0.0;
    for (const char* p = s; *p; ++p)
    {
        const char glyph[2] = {*p, 0};
        cairo_text_extents_t extents;
        cairo_text_extents(cr, glyph, &extents);
        width += extents.x_advance + (p[1] ? spacing : 0.0);
    }
    double left = x;
    if (align == Align::centre)
    {
        left = x - width / 2.0;
    }
    else if (align == Align::right)
    {
        left = x - width;
    }
    left = std::round(left);
    for (const char* p = s; *p; ++p)
    {
        const char glyph[2] = {*p, 0};
        cairo_move_to(cr, left, y);
        cairo_show_text(cr, glyph);
        cairo_text_extents_t extents;
        cairo_text_extents(cr, glyph, &extents);
        left += extents.x_advance + spacing;
    }
}

// A recessed well: dark fill, a shadowed upper edge and a lit lower edge.
void well(cairo_t* cr, double x, double y, double w, double h, double radius)
{
    CairoImage::roundedRectangle(cr, x - 1.0, y - 1.0, w + 2.0, h + 2.5, radius + 1.0);
    setColour(cr, PanelColours::bevelLight, 0.55);
    cairo_fill(cr);
    CairoImage::roundedRectangle(cr, x - 1.0, y - 1.0, w + 2.0, h + 1.5, radius + 1.0);
    setColour(cr, PanelColours::wellEdge);
    cairo_fill(cr);
    CairoImage::roundedRectangle(cr, x, y, w, h, radius);
    setColour(cr, PanelColours::well);
    cairo_fill(cr);
}

void hairline(cairo_t* cr, double x0, double x1, double y)
{
    cairo_set_line_width(cr, 1.0);
    cairo_set_source_rgba(cr, 0.0, 0.0, 0.0, 0.55);
    cairo_move_to(cr, x0, y + 0.5);
    cairo_line_to(cr, x1, y + 0.5);
    cairo_stroke(cr);
    cairo_set_source_rgba(cr, 1.0, 1.0, 1.0, 0.07);
    cairo_move_to(cr, x0, y + 1.5);
    cairo_line_to(cr, x1, y + 1.5);
    cairo_stroke(cr);
}

void screw(cairo_t* cr, double cx, double cy)
{
    cairo_arc(cr, cx, cy + 0.6, 4.2, 0.0, 2.0 * pi);
    cairo_set_source_rgba(cr, 1.0, 1.0, 1.0, 0.08);
    cairo_fill(cr);
    cairo_pattern_t* head = cairo_pattern_create_linear(cx - 4.0, cy - 4.0, cx + 4.0, cy + 4.0);
    cairo_pattern_add_color_stop_rgb(head, 0.0, 0.42, 0.44, 0.46);
    cairo_pattern_add_color_stop_rgb(head, 1.0, 0.14, 0.15, 0.16);
    cairo_arc(cr, cx, cy, 4.0, 0.0, 2.0 * pi);
    cairo_set_source(cr, head);
    cairo_fill(cr);
    cairo_pattern_destroy(head);
    cairo_set_line_width(cr, 1.2);
    cairo_set_source_rgba(cr, 0.05, 0.05, 0.05, 0.9);
    cairo_move_to(cr, cx - 2.6, cy + 1.2);
    cairo_line_to(cr, cx + 2.6, cy - 1.2);
    cairo_stroke(cr);
}
}

PanelPainter::PanelPainter(int smallKnobSize, int largeKnobSize)
    : smallKnobSize(smallKnobSize), largeKnobSize(largeKnobSize)
{
}

bool PanelPainter::save(const std::string& path) const
{
    CairoImage image(CAIRO_FORMAT_RGB24, EditorLayout::panelWidth, EditorLayout::panelHeight);
    cairo_t* cr = image.context();
    paintPanel(cr);
    paintBrand(cr);
    paintMeterWells(cr);
    paintFields(cr);
    paintKnobCaptions(cr);
    paintSwitchCaptions(cr);
    paintFooter(cr);
    return image.writePng(path);
}

void PanelPainter::paintPanel(cairo_t* cr) const
{
    const double w = EditorLayout::panelWidth;
    const double h = EditorLayout::panelHeight;
    cairo_pattern_t* base = cairo_pattern_create_linear(0.0, 0.0, 0.0, h);
    const PanelColours::Colour& top = PanelColours::panelTop;
    const PanelColours::Colour& bottom = PanelColours::panelBottom;
    cairo_pattern_add_color_stop_rgb(base, 0.0, top.red, top.green, top.blue);
    cairo_pattern_add_color_stop_rgb(base, 1.0, bottom.red, bottom.green, bottom.blue);
    cairo_set_source(cr, base);
    cairo_paint(cr);
    cairo_pattern_destroy(base);

    // Brushed metal: faint horizontal streaks from a fixed pseudo-random
    // sequence, so the bitmap is the same on every run.
    unsigned int state = 12345u;
    for (int y = 0; y < EditorLayout::panelHeight; ++y)
    {
        state = state * 1103515245u + 12345u;
        const double shade = ((state >> 16) & 0xFF) / 255.0;
        cairo_set_source_rgba(cr, 1.0, 1.0, 1.0, 0.012 + 0.022 * shade);
        cairo_rectangle(cr, 0.0, y, w, 1.0);
        cairo_fill(cr);
    }

    // Vignette towards the edges.
    cairo_pattern_t* vignette = cairo_pattern_create_radial(w / 2.0, h / 2.0, h * 0.35, w / 2.0, h / 2.0, w * 0.72);
    cairo_pattern_add_color_stop_rgba(vignette, 0.0, 0.0, 0.0, 0.0, 0.0);
    cairo_pattern_add_color_stop_rgba(vignette, 1.0, 0.0, 0.0, 0.0, 0.35);
    cairo_set_source(cr, vignette);
    cairo_paint(cr);
    cairo_pattern_destroy(vignette);

    // Frame: a lit top edge and a dark outline.
    cairo_set_line_width(cr, 1.0);
    cairo_set_source_rgba(cr, 1.0, 1.0, 1.0, 0.10);
    cairo_move_to(cr, 0.0, 0.5);
    cairo_line_to(cr, w, 0.5);
    cairo_stroke(cr);
    cairo_set_source_rgba(cr, 0.0, 0.0, 0.0, 0.8);
    cairo_rectangle(cr, 0.5, 0.5, w - 1.0, h - 1.0);
    cairo_stroke(cr);

    screw(cr, 11.0, 11.0);
    screw(cr, w - 11.0, 11.0);
}

void PanelPainter::paintBrand(cairo_t* cr) const
{
    const double centre = EditorLayout::panelWidth / 2.0;
    setColour(cr, PanelColours::accent);
    text(cr, "KW_PALISORNE", centre, 27.0, 17.0, true, Align::centre, 1.2);
    setColour(cr, PanelColours::legend);
    text(cr, "LOOK-AHEAD MASTERING LIMITER", centre, 42.0, 7.5, false, Align::centre, 1.6);
    hairline(cr, centre - 96.0, centre + 96.0, 48.0);
}

void PanelPainter::paintMeterWells(cairo_t* cr) const
{
    const CRect* meters = EditorLayout::meters;
    // Gain reduction on the left (saturation on the narrow meters), output
    // on the right (RMS on the narrow meters).
    const CRect groups[2] = {{meters[0].left, meters[0].top, meters[3].right, meters[3].bottom},
                                 {meters[4].left, meters[4].top, meters[7].right, meters[7].bottom}};
    const char* titles[2] = {"GAIN REDUCTION", "OUTPUT LEVEL"};
    const char* legends[8] = {"SAT", "L", "R", "SAT", "RMS", "L", "R", "RMS"};

    for (int g = 0; g < 2; ++g)
    {
        const CRect& r = groups[g];
        // Bezel around the group.
        CairoImage::roundedRectangle(cr, r.left - 5.0, r.top - 4.0, r.width() + 10.0, r.height() + 8.0, 4.0);
        cairo_set_source_rgba(cr, 0.0, 0.0, 0.0, 0.25);
        cairo_fill(cr);
        setColour(cr, PanelColours::accent);
        text(cr, titles[g], r.centreX(), 24.0, 8.0, true, Align::centre, 1.0);
        hairline(cr, r.left - 4.0, r.right + 4.0, 28.0);
    }

    for (int m = 0; m < EditorLayout::meterCount; ++m)
    {
        const CRect& r = meters[m];
        well(cr, r.left, r.top, r.width(), r.height(), 1.0);
        // Each narrow meter's legend sits over it; the wide ones say which
        // channel they show.
        const bool narrow = r.width() <= 12;
        setColour(cr, narrow ? PanelColours::legendFaint : PanelColours::legend);
        text(cr, legends[m], r.centreX(), 40.0, narrow ? 6.0 : 8.0, true, Align::centre, narrow ? 0.2 : 0.0);
    }

    // Units under the gain-reduction group (the output group has the scale
    // menu there).
    const CRect& gr = groups[0];
    setColour(cr, PanelColours::legendFaint);
    text(cr, "dB", gr.centreX(), gr.bottom + 14.0, 7.5, false, Align::centre, 0.5);
}

void PanelPainter::paintFields(cairo_t* cr) const
{
    struct Field
    {
        CRect rect;
        const char* caption;
        bool menu;
    };
    const Field fields[] = {
        {EditorLayout::lookaheadField, "LOOK-AHEAD", false},
        {EditorLayout::linkField, "STEREO LINK", false},
        {EditorLayout::wordLengthMenu, "WORD LENGTH", true},
        {EditorLayout::shapingField, "NOISE SHAPING", false},
        {EditorLayout::scaleMenu, nullptr, true},
    };
    for (const Field& f : fields)
    {
        const CRect& r = f.rect;
        well(cr, r.left, r.top, r.width(), r.height(), 2.0);
        if (f.caption)
        {
            setColour(cr, PanelColours::legend);
            text(cr, f.caption, r.centreX(), r.top - 6.0, 7.5, true, Align::centre, 0.9);
        }
        if (f.menu)
        {
            // A small downward arrow says the field opens a list.
            setColour(cr, PanelColours::accentDim);
            const double x = r.right - 9.0;
            const double y = r.top + r.height() / 2.0 - 1.5;
            cairo_move_to(cr, x - 3.0, y);
            cairo_line_to(cr, x + 3.0, y);
            cairo_line_to(cr, x, y + 3.5);
            cairo_close_path(cr);
            cairo_fill(cr);
        }
    }

    // The limiter's section, framed around the four fields.
    const CRect& a = EditorLayout::lookaheadField;
    const CRect& b = EditorLayout::shapingField;
    cairo_set_line_width(cr, 1.0);
    cairo_set_source_rgba(cr, 1.0, 1.0, 1.0, 0.06);
    CairoImage::roundedRectangle(cr, a.left - 12.5, a.top - 22.5, b.right - a.left + 25.0, b.bottom - a.top + 33.0,
                                 5.0);
    cairo_stroke(cr);
}

void PanelPainter::paintKnobCaptions(cairo_t* cr) const
{
    struct Caption
    {
        CPoint corner;
        const char* caption;
    };
    const Caption small[] = {
        {EditorLayout::saturationKnob, "SATURATION"},
        {EditorLayout::ceilingKnob, "CEILING"},
        {EditorLayout::attackKnob, "ATTACK"},
        {EditorLayout::releaseKnob, "RELEASE"},
    };
    for (const Caption& c : small)
    {
        setColour(cr, PanelColours::legend);
        text(cr, c.caption, c.corner.x + smallKnobSize / 2.0, c.corner.y - 4.0, 7.5, true, Align::centre, 0.9);
    }

    const CPoint& gain = EditorLayout::inputGainKnob;
    const double centreX = gain.x + largeKnobSize / 2.0;
    setColour(cr, PanelColours::accent);
    text(cr, "INPUT GAIN", centreX, gain.y - 9.0, 9.0, true, Align::centre, 1.4);
    // End legends of the gain knob's sweep (its 270 degree track starts and
    // ends at the bottom left and right).
    const double radius = largeKnobSize * 0.5;
    setColour(cr, PanelColours::legendFaint);
    text(cr, "-20", centreX - radius * 0.62, gain.y + largeKnobSize - 4.0, 7.0, false, Align::right);
    text(cr, "+20", centreX + radius * 0.62, gain.y + largeKnobSize - 4.0, 7.0, false, Align::left);

    // Section rules under the meters and above the knob row.
    hairline(cr, 14.0, gain.x - 8.0, EditorLayout::attackKnob.y - 22.0);
    hairline(cr, gain.x + largeKnobSize + 8.0, EditorLayout::panelWidth - 14.0, EditorLayout::attackKnob.y - 22.0);
}

void PanelPainter::paintSwitchCaptions(cairo_t* cr) const
{
    struct Caption
    {
        CPoint corner;
        const char* caption;
    };
    const int size = 20;
    const Caption captions[] = {
        {EditorLayout::truePeakSwitch, "TRUE PEAK"},
        {EditorLayout::monitorSwitch, "MONITOR"},
        {EditorLayout::aes17Switch, "AES17 RMS"},
    };
    for (const Caption& c : captions)
    {
        setColour(cr, PanelColours::legend);
        text(cr, c.caption, c.corner.x + size + 5.0, c.corner.y + size / 2.0 + 3.0, 7.5, true, Align::left, 0.8);
    }
}

void PanelPainter::paintFooter(cairo_t* cr) const
{
    const double top = EditorLayout::versionLabel.top - 6.0;
    cairo_rectangle(cr, 1.0, top, EditorLayout::panelWidth - 2.0, EditorLayout::panelHeight - top - 1.0);
    cairo_set_source_rgba(cr, 0.0, 0.0, 0.0, 0.30);
    cairo_fill(cr);
    hairline(cr, 1.0, EditorLayout::panelWidth - 1.0, top);
    setColour(cr, PanelColours::legendFaint);
    text(cr, "VIRELMATT", 12.0, EditorLayout::panelHeight - 6.0, 8.0, true, Align::left, 2.2);
}
