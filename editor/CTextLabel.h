#pragma once

#include "CControl.h"

#include <string>

// A line of text in a rectangle, with its font, colour and alignment; the
// panel shows through unless a background colour is set.
class CTextLabel : public CControl
{
public:
    CTextLabel(const CRect& size, const char* text);

    void setText(const char* newText);
    void setFontColor(const CColor& colour);
    void setFont(const CFontDesc& newFont);
    void setHoriAlign(CDrawContext::Align align);
    void setTransparency(bool on);

protected:
    void draw(CDrawContext& context) override;

private:
    std::string text;
    CColor fontColour;
    CFontDesc font;
    CDrawContext::Align align;
    bool transparent;
    CColor backgroundColour;
};
