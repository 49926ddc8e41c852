// Draws the editor's five bitmaps into a folder (resources/ when committed):
//   draw_bitmaps DIRECTORY
#include "ButtonStripPainter.h"
#include "KnobStripPainter.h"
#include "PanelPainter.h"

#include <cstdio>
#include <string>

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
        return 2;
    }
    const std::string folder = std::string(argv[1]) + "/";
    // Frame sizes and counts are what the editor's layout is built on.
    const int smallKnob = 80;
    const int largeKnob = 130;
    const bool written =
        PanelPainter(smallKnob, largeKnob).save(folder + "gui.png") &&
        KnobStripPainter(smallKnob, 65, KnobStripPainter::Style::small).save(folder + "knob.png") &&
        KnobStripPainter(largeKnob, 81, KnobStripPainter::Style::largeBipolar).save(folder + "knob_large.png") &&
        ButtonStripPainter(20, ButtonStripPainter::Kind::switchLamp).save(folder + "switch.png") &&
        ButtonStripPainter(18, ButtonStripPainter::Kind::information).save(folder + "info.png");
    if (!written)
    {
        std::fprintf(stderr, "could not write the bitmaps into %s\n", argv[1]);
        return 1;
    }
    return 0;
}
