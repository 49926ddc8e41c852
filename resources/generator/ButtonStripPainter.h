#pragma once

#include <cairo.h>

#include <string>

// Draws the two-frame strips of the push buttons, off (or released) above
// on (or pressed): the square switch with its indicator lamp, and the round
// information button that leads to the product's web page.
class ButtonStripPainter
{
public:
    enum class Kind
    {
        switchLamp,
        information
    };

    ButtonStripPainter(int frameSize, Kind kind);

    // Writes the strip as a PNG; false when Cairo could not.
    bool save(const std::string& path) const;

private:
    void paintSwitch(cairo_t* cr, bool on) const;
    void paintInformation(cairo_t* cr, bool pressed) const;

    int frameSize;
    Kind kind;
};
