#pragma once

#include <cairo.h>

#include <string>

// Draws the editor's background: the brushed panel, the recessed wells of
// the meters and numeric fields, and every caption, legend and scale label
// of the instrument (the controls draw only their values). Everything is
// placed from the editor's own layout, so the legends follow the controls.
class PanelPainter
{
public:
    // The knob frame sizes decide where the knob captions go.
    PanelPainter(int smallKnobSize, int largeKnobSize);

    // Writes the panel as a PNG; false when Cairo could not.
    bool save(const std::string& path) const;

private:
    void paintPanel(cairo_t* cr) const;
    void paintBrand(cairo_t* cr) const;
    void paintMeterWells(cairo_t* cr) const;
    void paintFields(cairo_t* cr) const;
    void paintKnobCaptions(cairo_t* cr) const;
    void paintSwitchCaptions(cairo_t* cr) const;
    void paintFooter(cairo_t* cr) const;

    int smallKnobSize;
    int largeKnobSize;
};
