#pragma once

#include "CBitmap.h"
#include "CControl.h"

#include <memory>

// A switch drawn from a two-frame strip (off above on). A click toggles the
// value between the minimum and the maximum and tells the listener.
class COnOffButton : public CControl
{
public:
    COnOffButton(const CRect& size, CControlListener* listener, int tag,
                 std::shared_ptr<const CBitmap> background);

    bool isOn() const { return getValue() > getMin() + 0.5f * (getMax() - getMin()); }

protected:
    void draw(CDrawContext& context) override;
    bool onMouseDown(const CMouseEvent& event) override;

private:
    std::shared_ptr<const CBitmap> background;
};
