#include "COptionMenu.h"

#include <algorithm>

namespace
{
const CFontDesc menuFont = kNormalFontSmall;
const CColor listBackground = {14, 16, 15, 250};
const CColor listBorder = {100, 120, 20, 255};
const CColor highlight = {194, 250, 5, 60};
}

COptionMenu::COptionMenu(const CRect& size, CControlListener* listener, int tag,
                         int windowHeight, int style)
    : CControl(size, listener, tag),
      windowHeight(windowHeight),
      style(style),
      fontColour{194, 250, 5, 255},
      open(false),
      hovered(-1)
{
    setMax(0.0f);
}

void COptionMenu::addEntry(const char* title)
{
    entries.emplace_back(title ? title : "");
    setMax(static_cast<float>(entries.size() - 1));
}

const char* COptionMenu::getEntry(int index) const
{
    return index >= 0 && index < getNbEntries() ? entries[static_cast<size_t>(index)].c_str() : nullptr;
}

bool COptionMenu::setCurrent(int index)
{
    if (index < 0 || index >= getNbEntries())
    {
        return false;
    }
    setValue(static_cast<float>(index));
    return true;
}

void COptionMenu::setStyle(int newStyle)
{
    setDrawn(style, newStyle);
}

CRect COptionMenu::getListArea() const
{
    const CRect menu = getViewSize();
    const int rowHeight = menu.height();
    const int listHeight = rowHeight * getNbEntries() + 2;
    CRect list = {menu.left, menu.bottom, menu.right, menu.bottom + listHeight};
    if (list.bottom > windowHeight)
    {
        list.bottom = menu.top;
        list.top = menu.top - listHeight;
    }
    return list;
}

void COptionMenu::openList()
{
    if (open || getNbEntries() == 0)
    {
        return;
    }
    open = true;
    hovered = getCurrentIndex();
    // The view grows over the menu and its list; open, it is modal: drawn
    // last, it sees every click first.
    const CRect menu = getViewSize();
    const CRect list = getListArea();
    setDrawArea({menu.left, std::min(menu.top, list.top), menu.right, std::max(menu.bottom, list.bottom)});
    setDirty();
}

void COptionMenu::closeList()
{
    if (!open)
    {
        return;
    }
    open = false;
    hovered = -1;
    // Shrinking back repaints where the list was.
    setDrawArea(getViewSize());
}

int COptionMenu::entryAt(double windowX, double windowY) const
{
    const CRect list = getListArea();
    if (!isInside({list.left, list.top + 1, list.right, list.bottom - 1}, windowX, windowY))
    {
        return -1;
    }
    const int row = static_cast<int>((windowY - list.top - 1) / getViewSize().height());
    return row < getNbEntries() ? row : -1;
}

void COptionMenu::draw(CDrawContext& context)
{
    const CRect menu = getViewSize();
    // Drawing coordinates start at the draw area's top left corner, which
    // is the list's when it opens upwards.
    const int originX = getDrawArea().left;
    const int originY = getDrawArea().top;
    const CRect local = {menu.left - originX, menu.top - originY, menu.right - originX, menu.bottom - originY};
    if (!(style & kTransparent))
    {
        context.fillRect(local.left, local.top, local.right, local.bottom, listBackground);
    }
    const CDrawContext::Align align = (style & kCentredText) ? CDrawContext::Align::centre : CDrawContext::Align::left;
    const CRect textArea = {local.left + 4, local.top, local.right - 4, local.bottom};
    context.drawString(getCurrentEntry(), textArea, menuFont, fontColour, align);

    if (open)
    {
        const CRect list = getListArea();
        drawList(context, {list.left - originX, list.top - originY, list.right - originX, list.bottom - originY});
    }
}

void COptionMenu::drawList(CDrawContext& context, const CRect& list) const
{
    context.fillRect(list.left, list.top, list.right, list.bottom, listBorder);
    context.fillRect(list.left + 1, list.top + 1, list.right - 1, list.bottom - 1, listBackground);
    const int rowHeight = getViewSize().height();
    const int current = getCurrentIndex();
    for (int i = 0; i < getNbEntries(); ++i)
    {
        const CRect row = {list.left + 1, list.top + 1 + i * rowHeight, list.right - 1,
                           list.top + 1 + (i + 1) * rowHeight};
        if (i == hovered)
        {
            context.fillRect(row.left, row.top, row.right, row.bottom, highlight);
        }
        if ((style & kCheckStyle) && i == current)
        {
            context.drawString("\xE2\x9C\x93", {row.left + 4, row.top, row.left + 16, row.bottom}, menuFont,
                               fontColour, CDrawContext::Align::left);
        }
        const CDrawContext::Align align =
            (style & kCentredText) ? CDrawContext::Align::centre : CDrawContext::Align::left;
        context.drawString(entries[static_cast<size_t>(i)].c_str(), {row.left + 16, row.top, row.right - 16, row.bottom},
                           menuFont, fontColour, align);
    }
}

bool COptionMenu::onMouseUp(const CMouseEvent&)
{
    return open;
}

bool COptionMenu::onMouseDown(const CMouseEvent& event)
{
    if (event.button != 1)
    {
        return open;
    }
    const double x = event.x;
    const double y = event.y;
    if (open)
    {
        const int chosen = entryAt(x, y);
        closeList();
        if (chosen >= 0)
        {
            beginEdit();
            setCurrent(chosen);
            notifyValueChanged();
            endEdit();
        }
        return true;
    }
    if (!getMouseEnabled() || !isInside(getViewSize(), x, y))
    {
        return false;
    }
    openList();
    return true;
}

bool COptionMenu::onMouseMoved(const CMouseEvent& event)
{
    if (!open)
    {
        return false;
    }
    const int entry = entryAt(event.x, event.y);
    setDrawn(hovered, entry);
    return true;
}
