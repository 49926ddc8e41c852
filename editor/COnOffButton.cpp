#include "COnOffButton.h"

COnOffButton::COnOffButton(const CRect& size, CControlListener* listener, int tag,
                           std::shared_ptr<const CBitmap> background)
    : CControl(size, listener, tag), background(std::move(background))
{
}

void COnOffButton::draw(CDrawContext& context)
{
    if (background)
    {
        context.drawBitmap(*background, 0.0, 0.0, isOn() ? 1 : 0, background->getHeight() / 2);
    }
}

bool COnOffButton::onMouseDown(const CMouseEvent& event)
{
    if (event.button != 1 || !getMouseEnabled() || !isHit(event))
    {
        return false;
    }
    beginEdit();
    setValue(isOn() ? getMin() : getMax());
    notifyValueChanged();
    endEdit();
    return true;
}
