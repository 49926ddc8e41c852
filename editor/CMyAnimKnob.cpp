#include "CMyAnimKnob.h"

#include <algorithm>
#include <cmath>
#include <cstring>

CMyAnimKnob::CMyAnimKnob(const CRect& size, CControlListener* listener, int tag,
                         int frames, int frameHeight, std::shared_ptr<const CBitmap> background,
                         const CRect& textRect, const CPoint& offset)
    : CControl(size, listener, tag),
      background(std::move(background)),
      frames(frames),
      frameHeight(frameHeight),
      textRect(textRect),
      offset(offset),
      textColour{194, 250, 5, 255},
      textFont(kNormalFontSmall),
      valueText{},
      taperExponent(1.0f),
      textOnly(false),
      zoomFactor(10.0f),
      wheelIncrement(0.05f),
      dragging(false),
      lastDragY(0.0)
{
}

void CMyAnimKnob::setTextColor(const CColor& colour)
{
    textColour = colour;
    setDirty();
}

void CMyAnimKnob::setValueText(const char* text)
{
    std::strncpy(valueText, text ? text : "", valueTextLength);
    valueText[valueTextLength] = '\0';
    setDirty();
}

void CMyAnimKnob::setTaperExponent(float exponent)
{
    setDrawn(taperExponent, exponent);
}

void CMyAnimKnob::setTextOnly(bool on)
{
    setDrawn(textOnly, on);
}

void CMyAnimKnob::setTextFont(const CFontDesc& font)
{
    if (std::strcmp(font.family, textFont.family) != 0 || font.size != textFont.size || font.bold != textFont.bold)
    {
        textFont = font;
        setDirty();
    }
}

void CMyAnimKnob::setDefaultValue(float newDefault)
{
    CControl::setDefaultValue(std::pow(newDefault, taperExponent));
}

bool CMyAnimKnob::applyWheel(float distance, bool fine)
{
    if (!getMouseEnabled() || !getListener())
    {
        return false;
    }
    const float before = getValue();
    float v = before;
    float scale = 1.0f;
    if (taperExponent != 1.0f)
    {
        scale = std::pow(v, 1.0f - taperExponent);
    }
    if (fine)
    {
        v += 0.1f * distance * wheelIncrement * scale;
    }
    else
    {
        v += distance * wheelIncrement * scale;
    }
    if (setClampedValue(v, before))
    {
        beginEdit();
        notifyValueChanged();
        endEdit();
    }
    return true;
}

void CMyAnimKnob::draw(CDrawContext& context)
{
    if (!textOnly && background && frames > 0)
    {
        const int frame = static_cast<int>(getValueNormalized() * (frames - 1) + 0.5f);
        const int clamped = frame < 0 ? 0 : (frame >= frames ? frames - 1 : frame);
        context.drawBitmap(*background, -offset.x, -offset.y, clamped, frameHeight);
    }
    context.drawString(valueText, textRect, textFont, textColour, CDrawContext::Align::centre);
}

bool CMyAnimKnob::onMouseDown(const CMouseEvent& event)
{
    if (event.button != 1 || !getMouseEnabled() || !isHit(event))
    {
        return false;
    }
    if (event.modifiers & kControl)
    {
        beginEdit();
        setValue(getDefaultValue());
        notifyValueChanged();
        endEdit();
        return true;
    }
    dragging = true;
    lastDragY = event.y;
    beginEdit();
    return true;
}

bool CMyAnimKnob::onMouseUp(const CMouseEvent& event)
{
    if (event.button == 1 && dragging)
    {
        dragging = false;
        endEdit();
        return true;
    }
    return false;
}

bool CMyAnimKnob::onMouseMoved(const CMouseEvent& event)
{
    if (!dragging)
    {
        return false;
    }
    const double y = event.y;
    float step = static_cast<float>(lastDragY - y) / dragRange * (getMax() - getMin());
    if (event.modifiers & kShift)
    {
        step /= zoomFactor;
    }
    lastDragY = y;
    const float before = getValue();
    float v = before + step;
    if (setClampedValue(v, before))
    {
        notifyValueChanged();
    }
    return true;
}

bool CMyAnimKnob::onWheel(const CMouseEvent& event, float distance)
{
    if (!isHit(event))
    {
        return false;
    }
    return applyWheel(distance, (event.modifiers & kShift) != 0);
}

bool CMyAnimKnob::setClampedValue(float v, float before)
{
    setValue(std::min(std::max(v, getMin()), getMax()));
    return getValue() != before;
}
