#pragma once

#include "CBitmap.h"
#include "CControl.h"

#include <memory>

// A film-strip knob that also prints its parameter's display text. Dragging
// up or down over 200 pixels sweeps the whole range (ten times finer with
// Shift held); the wheel steps by a fixed increment, scaled by the taper;
// Ctrl+click returns to the default. In text-only mode the knob has no
// bitmap and shows only its text: a numeric field dragged like a knob.
class CMyAnimKnob : public CControl
{
public:
    // frames: number of frames in the strip, frameHeight: height of one.
    // textRect is relative to the knob. The offset is where the strip's
    // first frame starts inside the bitmap.
    CMyAnimKnob(const CRect& size, CControlListener* listener, int tag, int frames,
                int frameHeight, std::shared_ptr<const CBitmap> background, const CRect& textRect,
                const CPoint& offset);

    virtual void setTextColor(const CColor& colour);
    // Keeps the first 8 characters.
    virtual void setValueText(const char* text);
    virtual void setTaperExponent(float exponent);
    virtual void setTextOnly(bool on);
    virtual void setTextFont(const CFontDesc& font);

    // Stored raised to the taper exponent.
    void setDefaultValue(float newDefault) override;

    const char* getValueText() const { return valueText; }

    // Wheel distance in detents (positive: up); fine is the zoom modifier.
    // True when handled.
    bool applyWheel(float distance, bool fine);

    // Pixels of vertical drag for the whole range at normal speed.
    static constexpr float dragRange = 200.0f;

protected:
    void draw(CDrawContext& context) override;
    bool onMouseDown(const CMouseEvent& event) override;
    bool onMouseUp(const CMouseEvent& event) override;
    bool onMouseMoved(const CMouseEvent& event) override;
    bool onWheel(const CMouseEvent& event, float distance) override;

private:
    // Sets v within the control's range; true when the value changed.
    bool setClampedValue(float v, float before);
    static constexpr int valueTextLength = 8;

    std::shared_ptr<const CBitmap> background;
    int frames;
    int frameHeight;
    CRect textRect;
    CPoint offset;
    CColor textColour;
    CFontDesc textFont;
    char valueText[valueTextLength + 1];
    float taperExponent;
    bool textOnly;
    float zoomFactor;
    float wheelIncrement;
    bool dragging;
    double lastDragY;
};
