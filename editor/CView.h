#pragma once

#include "CRect.h"

class CDrawContext;

// Modifier keys held during a mouse event.
enum CModifier
{
    kShift = 1 << 0,
    kControl = 1 << 1,
};

// A mouse event in the window's coordinates: the button (1 left, 2 middle,
// 3 right; 0 for motion and the wheel) and the modifiers held.
struct CMouseEvent
{
    double x;
    double y;
    int button;
    int modifiers;
};

// A rectangle of the editor's window that draws itself and may take mouse
// events. It knows no window: the frame that owns it asks it to draw and
// hands it the events; marking it dirty asks the frame for a repaint at
// the next idle, and painting clears the mark.
class CView
{
public:
    explicit CView(const CRect& size);
    virtual ~CView() = default;
    CView(const CView&) = delete;
    CView& operator=(const CView&) = delete;

    CRect getViewSize() const { return size; }
    // Where the view draws, in window coordinates: its rectangle unless it
    // has grown beyond it (an open list).
    CRect getDrawArea() const { return drawArea; }

    bool isDirty() const { return dirty; }
    void setDirty(bool state = true) { dirty = state; }
    void setMouseEnabled(bool enabled) { mouseEnabled = enabled; }
    bool getMouseEnabled() const { return mouseEnabled; }

    // Paints the view, its draw area's top left corner at 0, 0.
    virtual void draw(CDrawContext& context) = 0;

    // The frame offers each event to the views front to back until one
    // handles it (returns true). Wheel distance in detents, up positive.
    virtual bool onMouseDown(const CMouseEvent& event);
    virtual bool onMouseUp(const CMouseEvent& event);
    virtual bool onMouseMoved(const CMouseEvent& event);
    virtual bool onWheel(const CMouseEvent& event, float distance);
    // While true the view is drawn above all others and sees every event
    // first.
    virtual bool isModal() const { return false; }

protected:
    void setDrawArea(const CRect& area);
    // Whether the event lies in the draw area.
    bool isHit(const CMouseEvent& event) const;
    static bool isInside(const CRect& area, double x, double y);
    // Sets a property the view draws; a change asks for a repaint.
    template <class T>
    void setDrawn(T& property, T value)
    {
        if (value != property)
        {
            property = value;
            dirty = true;
        }
    }

private:
    CRect size;
    CRect drawArea;
    bool mouseEnabled;
    bool dirty;
};
