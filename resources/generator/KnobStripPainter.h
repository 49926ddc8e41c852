#pragma once

#include <cairo.h>

#include <string>

// Draws a film strip of knob frames stacked top to bottom, frame i showing
// the value i / (frames - 1): a dark body with a pointer over a recessed
// track lit in the accent colour up to the value. The track sweeps 270
// degrees from bottom left to bottom right. A bipolar knob lights the track
// from its top centre outwards (a gain around 0 dB); its body leaves the
// middle band dark for the value the editor prints there.
class KnobStripPainter
{
public:
    enum class Style
    {
        small,
        largeBipolar
    };

    KnobStripPainter(int frameSize, int frameCount, Style style);

    // Writes the strip as a PNG; false when Cairo could not.
    bool save(const std::string& path) const;

private:
    void paintFrame(cairo_t* cr, double value) const;
    void paintTrack(cairo_t* cr, double value) const;
    void paintBody(cairo_t* cr, double value) const;

    int frameSize;
    int frameCount;
    Style style;
    double centreX;
    double centreY;
    double trackRadius;
    double trackWidth;
    double bodyRadius;
};
