#pragma once

// The highest magnitude an output sample may have, worked out from the
// normalised "Outceil" (index 5, -10..0 dB) and "NumBits" (index 11, steps
// 0, 8, 16, 24 bits) as a host reads them back with getParameter: the
// ceiling 10^(dB/20), rounded down onto the 2^(bits-1) grid when bits > 2.
// A value outside 0..1 counts as the nearest end of the range.
//
// The plug-in works in single precision and this in double, so the ceiling
// is first raised by the most the two can differ (see the source); the
// bound is never below the plug-in's clip level, and above it by at most
// that margin or, where the margin straddles a grid line, one grid step.
class ClipLevelBound
{
public:
    static constexpr int ceilingIndex = 5;
    static constexpr int wordLengthIndex = 11;

    static double of(float ceilingValue, float wordLengthValue);
    // The ceiling alone, in linear terms, with the same margin: a bound for
    // any word length, since rounding onto a grid only lowers it.
    static double ceiling(float ceilingValue);
};
