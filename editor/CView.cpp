#include "CView.h"

CView::CView(const CRect& size) : size(size), drawArea(size), mouseEnabled(true), dirty(false)
{
}

bool CView::onMouseDown(const CMouseEvent&)
{
    return false;
}

bool CView::onMouseUp(const CMouseEvent&)
{
    return false;
}

bool CView::onMouseMoved(const CMouseEvent&)
{
    return false;
}

bool CView::onWheel(const CMouseEvent&, float)
{
    return false;
}

void CView::setDrawArea(const CRect& area)
{
    drawArea = area;
    dirty = true;
}

bool CView::isHit(const CMouseEvent& event) const
{
    return isInside(drawArea, event.x, event.y);
}

bool CView::isInside(const CRect& area, double x, double y)
{
    return x >= area.left && x < area.right && y >= area.top && y < area.bottom;
}
