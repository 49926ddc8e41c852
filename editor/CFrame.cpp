#include "CFrame.h"

#include "CDrawContext.h"

void CFrame::addView(CView* view)
{
    views.push_back({std::unique_ptr<CView>(view), view->getDrawArea()});
    postRepaint(view->getDrawArea());
}

void CFrame::idle()
{
    for (Entry& entry : views)
    {
        if (entry.view->isDirty())
        {
            const CRect area = entry.view->getDrawArea();
            if (!(area == entry.lastArea))
            {
                postRepaint(entry.lastArea);
                entry.lastArea = area;
            }
            postRepaint(area);
        }
    }
    handleEvents();
}

void CFrame::paint(CDrawContext& context)
{
    for (bool modal : {false, true})
    {
        for (Entry& entry : views)
        {
            if (entry.view->isModal() == modal)
            {
                context.enterArea(entry.view->getDrawArea());
                entry.view->draw(context);
                context.leaveArea();
                entry.view->setDirty(false);
            }
        }
    }
    ++paintCount;
}

template <class Handler>
void CFrame::offer(Handler handler)
{
    for (bool modal : {true, false})
    {
        for (auto it = views.rbegin(); it != views.rend(); ++it)
        {
            CView& view = *it->view;
            if (view.isModal() == modal && handler(view))
            {
                return;
            }
        }
    }
}

void CFrame::onMouseDown(const CMouseEvent& event)
{
    offer([&](CView& view) { return view.onMouseDown(event); });
}

void CFrame::onMouseUp(const CMouseEvent& event)
{
    offer([&](CView& view) { return view.onMouseUp(event); });
}

void CFrame::onMouseMoved(const CMouseEvent& event)
{
    offer([&](CView& view) { return view.onMouseMoved(event); });
}

void CFrame::onWheel(const CMouseEvent& event, float distance)
{
    offer([&](CView& view) { return view.onWheel(event, distance); });
}
