#include "CFrame.h"

#include "PuglDrawing.h"

struct CFrame::Platform
{
    PuglWorld* world = nullptr;
    PuglView* view = nullptr;
};

namespace
{
int modifiersOf(uint32_t state)
{
    return ((state & PUGL_MOD_SHIFT) ? kShift : 0) | ((state & PUGL_MOD_CTRL) ? kControl : 0);
}

PuglStatus onEvent(PuglView* view, const PuglEvent* event)
{
    CFrame& frame = *static_cast<CFrame*>(puglGetHandle(view));
    switch (event->type)
    {
    case PUGL_MAP:
        // Repaints posted before the window was mapped were dropped, and a
        // covered window gets no expose from the server: paint it whole.
        puglPostRedisplay(view);
        break;
    case PUGL_EXPOSE:
        paintExposedView(view, frame);
        break;
    case PUGL_BUTTON_PRESS:
    case PUGL_BUTTON_RELEASE:
    {
        // pugl counts buttons from 0.
        const PuglButtonEvent& button = event->button;
        const CMouseEvent mouse = {button.x, button.y, static_cast<int>(button.button) + 1,
                                   modifiersOf(button.state)};
        if (event->type == PUGL_BUTTON_PRESS)
        {
            frame.onMouseDown(mouse);
        }
        else
        {
            frame.onMouseUp(mouse);
        }
        break;
    }
    case PUGL_MOTION:
        frame.onMouseMoved({event->motion.x, event->motion.y, 0, modifiersOf(event->motion.state)});
        break;
    case PUGL_SCROLL:
        frame.onWheel({event->scroll.x, event->scroll.y, 0, modifiersOf(event->scroll.state)},
                      static_cast<float>(event->scroll.dy));
        break;
    default:
        break;
    }
    return PUGL_SUCCESS;
}
}

CFrame::CFrame(uintptr_t parentWindow, int width, int height)
    : platform(new Platform), width(width), height(height), paintCount(0)
{
    // A world of our own per window, as a module in a host's process.
    platform->world = puglNewWorld(PUGL_MODULE, 0);
    puglSetClassName(platform->world, "KW_Palisorne");
    platform->view = puglNewView(platform->world);
    PuglView* view = platform->view;
    puglSetParentWindow(view, parentWindow);
    puglSetBackend(view, getPuglDrawingBackend());
    puglSetHandle(view, this);
    puglSetViewHint(view, PUGL_RESIZABLE, PUGL_FALSE);
    // The drawing back ends paint through back buffers of their own; a
    // double-buffered pixel format would hide GDI painting on Windows.
    puglSetViewHint(view, PUGL_DOUBLE_BUFFER, PUGL_FALSE);
    puglSetEventFunc(view, onEvent);
    puglSetSizeHint(view, PUGL_DEFAULT_SIZE, static_cast<PuglSpan>(width), static_cast<PuglSpan>(height));
    if (puglRealize(view) == PUGL_SUCCESS)
    {
        puglShow(view);
    }
}

CFrame::~CFrame()
{
    views.clear();
    puglFreeView(platform->view);
    puglFreeWorld(platform->world);
}

uintptr_t CFrame::getNativeWindow() const
{
    return puglGetNativeView(platform->view);
}

void CFrame::postRepaint(const CRect& area)
{
    if (area.width() > 0 && area.height() > 0)
    {
        puglPostRedisplayRect(platform->view, {static_cast<PuglCoord>(area.left), static_cast<PuglCoord>(area.top),
                                               static_cast<PuglSpan>(area.width()),
                                               static_cast<PuglSpan>(area.height())});
    }
}

void CFrame::handleEvents()
{
    puglUpdate(platform->world, 0.0);
}
