#include "CKickButton.h"

CKickButton::CKickButton(DGL_NAMESPACE::Widget* parent, const CRect& size, CControlListener* listener, int tag,
                         std::shared_ptr<const CBitmap> background)
    : CControl(parent, size, listener, tag), background(std::move(background)), pressed(false)
{
}

void CKickButton::draw(CDrawContext& context)
{
    if (background)
    {
        const bool down = getValue() > getMin();
        background->drawFrame(context.getCairo(), 0.0, 0.0, down ? 1 : 0, background->getHeight() / 2);
    }
}

bool CKickButton::onMouse(const MouseEvent& event)
{
    if (event.button != 1)
    {
        return false;
    }
    if (event.press)
    {
        if (!getMouseEnabled() || !contains(event.pos))
        {
            return false;
        }
        pressed = true;
        beginEdit();
        setValue(getMax());
        notifyValueChanged();
        return true;
    }
    if (!pressed)
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
