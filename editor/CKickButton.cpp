#include "CKickButton.h"

CKickButton::CKickButton(const CRect& size, CControlListener* listener, int tag,
                         std::shared_ptr<const CBitmap> background)
    : CControl(size, listener, tag), background(std::move(background)), pressed(false)
{
}

void CKickButton::draw(CDrawContext& context)
{
    if (background)
    {
        const bool down = getValue() > getMin();
        context.drawBitmap(*background, 0.0, 0.0, down ? 1 : 0, background->getHeight() / 2);
    }
}

bool CKickButton::onMouseDown(const CMouseEvent& event)
{
    if (event.button != 1 || !getMouseEnabled() || !isHit(event))
    {
        return false;
    }
    pressed = true;
    beginEdit();
    setValue(getMax());
    notifyValueChanged();
    return true;
}

bool CKickButton::onMouseUp(const CMouseEvent& event)
{
    if (event.button != 1 || !pressed)
    {
        return false;
    }
    pressed = false;
    return onRelease();
}

bool CKickButton::onRelease()
{
    setValue(getMin());
    notifyValueChanged();
    endEdit();
    return true;
}
