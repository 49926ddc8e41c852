#pragma once

// A typeface and size for the controls' texts.
struct CFontDesc
{
    const char* family;
    double size;
    bool bold;
};

// The standard sizes the editor uses, on the panel's typeface.
constexpr CFontDesc kNormalFontVeryBig = {"DejaVu Sans", 18.0, true};
constexpr CFontDesc kNormalFontSmall = {"DejaVu Sans", 11.0, false};
constexpr CFontDesc kNormalFontSmaller = {"DejaVu Sans", 10.0, false};
