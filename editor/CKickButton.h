#pragma once

#include "CBitmap.h"
#include "CControl.h"

#include <memory>

// A push button drawn from a two-frame strip (released above pressed): its
// value is the maximum while the mouse holds it down and returns to the
// minimum on release, and each change is told to the listener.
class CKickButton : public CControl
{
public:
    CKickButton(const CRect& size, CControlListener* listener, int tag,
                std::shared_ptr<const CBitmap> background);

protected:
    void draw(CDrawContext& context) override;
    bool onMouseDown(const CMouseEvent& event) override;
    bool onMouseUp(const CMouseEvent& event) override;
    // The mouse was released after a press on the button.
    virtual bool onRelease();

private:
    std::shared_ptr<const CBitmap> background;
    bool pressed;
};
