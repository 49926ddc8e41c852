#pragma once

#include "CControlListener.h"
#include "CDrawContext.h"
#include "CView.h"

// Base of the editor's controls: a view with a value, a range, a default, a
// tag (the parameter index it edits) and a listener told of the user's
// edits. Setting a value that differs marks the control dirty.
//
// Only the editor's user-interface thread may touch a control.
class CControl : public CView
{
public:
    CControl(const CRect& size, CControlListener* listener, int tag);

    int getTag() const { return tag; }
    CControlListener* getListener() const { return listener; }

    virtual void setValue(float newValue);
    virtual float getValue() const { return value; }
    // The value mapped onto 0..1 of the control's range.
    float getValueNormalized() const;
    void setMax(float maximum) { vmax = maximum; }
    float getMin() const { return vmin; }
    float getMax() const { return vmax; }
    virtual void setDefaultValue(float newDefault) { defaultValue = newDefault; }
    float getDefaultValue() const { return defaultValue; }

protected:
    void beginEdit();
    void endEdit();
    // Tells the listener that the user changed the value.
    void notifyValueChanged();

private:
    CControlListener* listener;
    int tag;
    float value;
    float vmin;
    float vmax;
    float defaultValue;
};
