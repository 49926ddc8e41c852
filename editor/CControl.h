#pragma once

#include "CControlListener.h"
#include "CDrawContext.h"
#include "CRect.h"

#include "Cairo.hpp"

// Base of the editor's controls: a rectangle of the window with a value, a
// range, a tag (the parameter index it edits) and a listener told of the
// user's edits. Setting a value that differs marks the control dirty, which
// asks the window for a repaint; painting clears it.
//
// Only the editor's user-interface thread may touch a control.
class CControl : public DGL_NAMESPACE::CairoSubWidget
{
public:
    // parent: the frame's container; size in the frame's coordinates.
    CControl(DGL_NAMESPACE::Widget* parent, const CRect& size, CControlListener* listener, int tag);

    int getTag() const { return tag; }
    CControlListener* getListener() const { return listener; }
    CRect getViewSize() const { return size; }

    virtual void setValue(float newValue);
    virtual float getValue() const { return value; }
    // The value mapped onto 0..1 of the control's range.
    float getValueNormalized() const;
    void setMin(float minimum) { vmin = minimum; }
    void setMax(float maximum) { vmax = maximum; }
    float getMin() const { return vmin; }
    float getMax() const { return vmax; }
    virtual void setDefaultValue(float newDefault) { defaultValue = newDefault; }
    float getDefaultValue() const { return defaultValue; }

    void setMouseEnabled(bool enabled) { mouseEnabled = enabled; }
    bool getMouseEnabled() const { return mouseEnabled; }

    bool isDirty() const { return dirty; }
    // Marking dirty asks for a repaint of the control.
    void setDirty(bool state = true);

protected:
    // Paints the control in its own coordinates.
    virtual void draw(CDrawContext& context) = 0;

    void beginEdit();
    void endEdit();
    // Tells the listener that the user changed the value.
    void notifyValueChanged();
    // Moves the control's area (for a list that opens beyond it); the
    // control's rectangle stays what it was built with.
    void setDrawArea(const CRect& area);

    // The mouse event's position inside the control.
    static bool isInside(const CRect& area, double x, double y);

private:
    void onCairoDisplay(const DGL_NAMESPACE::CairoGraphicsContext& context) final;

    CRect size;
    CControlListener* listener;
    int tag;
    float value;
    float vmin;
    float vmax;
    float defaultValue;
    bool mouseEnabled;
    bool dirty;
};
