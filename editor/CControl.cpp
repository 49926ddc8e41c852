#include "CControl.h"

CControl::CControl(DGL_NAMESPACE::Widget* parent, const CRect& size, CControlListener* listener, int tag)
    : DGL_NAMESPACE::CairoSubWidget(parent),
      size(size),
      listener(listener),
      tag(tag),
      value(0.0f),
      vmin(0.0f),
      vmax(1.0f),
      defaultValue(0.5f),
      mouseEnabled(true),
      dirty(false)
{
    setDrawArea(size);
}

void CControl::setValue(float newValue)
{
    if (newValue != value)
    {
        value = newValue;
        setDirty();
    }
}

float CControl::getValueNormalized() const
{
    const float range = vmax - vmin;
    return range != 0.0f ? (value - vmin) / range : 0.0f;
}

void CControl::setDirty(bool state)
{
    dirty = state;
    if (dirty)
    {
        repaint();
    }
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

void CControl::setDrawArea(const CRect& area)
{
    setAbsolutePos(area.left, area.top);
    setSize(static_cast<unsigned>(area.width()), static_cast<unsigned>(area.height()));
}

bool CControl::isInside(const CRect& area, double x, double y)
{
    return x >= area.left && x < area.right && y >= area.top && y < area.bottom;
}

void CControl::onCairoDisplay(const DGL_NAMESPACE::CairoGraphicsContext& context)
{
    CDrawContext drawContext(context.handle);
    draw(drawContext);
    dirty = false;
}
