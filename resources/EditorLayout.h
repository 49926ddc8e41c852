#pragma once

#include "CRect.h"

// Where everything sits in the editor, in pixels of the 506 x 427 panel.
// The panel bitmap's generator paints its captions and wells from the same
// numbers, so a control and its legend cannot drift apart. Knob sizes are
// not here: they come from the film strips.
namespace EditorLayout
{
constexpr int panelWidth = 506;
constexpr int panelHeight = 427;

constexpr CRect versionLabel = {0, 409, 496, 427};
// The link button is centred and stands 20 pixels above the bottom edge.
constexpr int linkButtonTopFromBottom = 20;

// Top-left corners of the film-strip knobs.
constexpr CPoint inputGainKnob = {190, 200};
constexpr CPoint attackKnob = {330, 295};
constexpr CPoint releaseKnob = {410, 295};
constexpr CPoint ceilingKnob = {100, 295};
constexpr CPoint saturationKnob = {20, 295};
// Where each knob prints its value, relative to the knob.
constexpr CRect largeKnobText = {0, 50, 130, 80};
constexpr CRect smallKnobText = {0, 63, 80, 72};

// Numeric fields dragged like knobs, and the two menus.
constexpr CRect lookaheadField = {162, 76, 242, 94};
constexpr CRect linkField = {269, 76, 349, 94};
constexpr CRect shapingField = {269, 142, 349, 160};
constexpr CRect fieldText = {0, 0, 80, 18};
constexpr CRect scaleMenu = {375, 239, 465, 257};
constexpr CRect wordLengthMenu = {162, 142, 242, 160};

// Top-left corners of the on/off switches.
constexpr CPoint truePeakSwitch = {114, 374};
constexpr CPoint aes17Switch = {216, 354};
constexpr CPoint monitorSwitch = {216, 333};

// The eight bar meters, in the order the editor creates them: saturation
// left, gain reduction left and right, saturation right; then RMS left,
// output peak left and right, RMS right.
constexpr int meterCount = 8;
constexpr CRect meters[meterCount] = {
    {48, 48, 58, 238},
    {60, 48, 90, 238},
    {92, 48, 122, 238},
    {124, 48, 134, 238},
    {373, 48, 383, 238},
    {385, 48, 417, 238},
    {419, 48, 451, 238},
    {453, 48, 463, 238},
};
}
