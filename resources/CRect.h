#pragma once

// A rectangle in pixels: left and top inside, right and bottom just outside.
struct CRect
{
    int left;
    int top;
    int right;
    int bottom;

    constexpr int width() const { return right - left; }
    constexpr int height() const { return bottom - top; }
    constexpr int centreX() const { return (left + right) / 2; }
    constexpr bool operator==(const CRect& other) const
    {
        return left == other.left && top == other.top && right == other.right && bottom == other.bottom;
    }
};

// A point in pixels.
struct CPoint
{
    int x;
    int y;
};
