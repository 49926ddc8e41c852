#pragma once

#include "CView.h"

#include <cstdint>
#include <memory>
#include <vector>

class CDrawContext;

// The editor's window inside the host's parent window. It owns the views,
// draws them in the order they were added (modal ones last), offers mouse
// events to them front to back, and runs from the host's idle call: dirty
// views are repainted, pending window events handled, never blocking. The
// window itself is the platform's (the back end below `Platform`).
class CFrame
{
public:
    CFrame(uintptr_t parentWindow, int width, int height);
    // Destroys the views, then the window.
    ~CFrame();
    CFrame(const CFrame&) = delete;
    CFrame& operator=(const CFrame&) = delete;

    // Takes ownership.
    void addView(CView* view);

    // Asks for a repaint of the dirty views, handles the window's pending
    // events and paints.
    void idle();

    // The platform's handle of the window.
    uintptr_t getNativeWindow() const;
    int getWidth() const { return width; }
    int getHeight() const { return height; }
    // How many times the window was painted.
    unsigned getPaintCount() const { return paintCount; }

    // For the platform part: paint every view, and the window's events.
    void paint(CDrawContext& context);
    void onMouseDown(const CMouseEvent& event);
    void onMouseUp(const CMouseEvent& event);
    void onMouseMoved(const CMouseEvent& event);
    void onWheel(const CMouseEvent& event, float distance);

    struct Platform;

private:
    struct Entry
    {
        std::unique_ptr<CView> view;
        // What the view covered when last asked to repaint: a view that
        // shrinks leaves it to be repainted too.
        CRect lastArea;
    };

    // Offers an event to modal views, then the others, front to back.
    template <class Handler>
    void offer(Handler handler);
    // The platform part's.
    void postRepaint(const CRect& area);
    void handleEvents();

    std::unique_ptr<Platform> platform;
    std::vector<Entry> views;
    int width;
    int height;
    unsigned paintCount;
};
