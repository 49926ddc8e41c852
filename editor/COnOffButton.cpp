#include "COnOffButton.h"

COnOffButton::COnOffButton(DGL_NAMESPACE::Widget* parent, const CRect& size, CControlListener* listener, int tag,
                           std::shared_ptr<const CBitmap> background)
    : CControl(parent, size, listener, tag), background(std::move(background))
{
}

void COnOffButton::draw(CDrawContext& context)
{
    if (background)
    {
        background->drawFrame(context.getCairo(), 0.0, 0.0, isOn() ? 1 : 0, background->getHeight() / 2);
    }
}

bool COnOffButton::onMouse(const MouseEvent& event)
{
    if (event.button != 1 || !event.press || !getMouseEnabled() || !contains(event.pos))
    {
        return false;
    }
    beginEdit();
    setValue(isOn() ? getMin() : getMax());
    notifyValueChanged();
    endEdit();
    return true;
}
