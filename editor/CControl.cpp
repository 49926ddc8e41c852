#include "CControl.h"

CControl::CControl(const CRect& size, CControlListener* listener, int tag)
    : CView(size), listener(listener), tag(tag), value(0.0f), vmin(0.0f), vmax(1.0f), defaultValue(0.5f)
{
}

void CControl::setValue(float newValue)
{
    setDrawn(value, newValue);
}

float CControl::getValueNormalized() const
{
    const float range = vmax - vmin;
    return range != 0.0f ? (value - vmin) / range : 0.0f;
}

void CControl::beginEdit()
{
    if (listener)
    {
        listener->controlBeginEdit(this);
    }
}

void CControl::endEdit()
{
    if (listener)
    {
        listener->controlEndEdit(this);
    }
}

void CControl::notifyValueChanged()
{
    if (listener)
    {
        listener->valueChanged(this);
    }
}
