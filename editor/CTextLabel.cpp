#include "CTextLabel.h"

CTextLabel::CTextLabel(const CRect& size, const char* text)
    : CControl(size, nullptr, -1),
      text(text ? text : ""),
      fontColour{255, 255, 255, 255},
      font(kNormalFontSmall),
      align(CDrawContext::Align::centre),
      transparent(false),
      backgroundColour{0, 0, 0, 255}
{
    setMouseEnabled(false);
}

void CTextLabel::setText(const char* newText)
{
    text = newText ? newText : "";
    setDirty();
}

void CTextLabel::setFontColor(const CColor& colour)
{
    fontColour = colour;
    setDirty();
}

void CTextLabel::setFont(const CFontDesc& newFont)
{
    font = newFont;
    setDirty();
}

void CTextLabel::setHoriAlign(CDrawContext::Align newAlign)
{
    align = newAlign;
    setDirty();
}

void CTextLabel::setTransparency(bool on)
{
    transparent = on;
    setDirty();
}

void CTextLabel::draw(CDrawContext& context)
{
    const CRect local = {0, 0, getViewSize().width(), getViewSize().height()};
    if (!transparent)
    {
        context.fillRect(local.left, local.top, local.right, local.bottom, backgroundColour);
    }
    context.drawString(text.c_str(), local, font, fontColour, align);
}
