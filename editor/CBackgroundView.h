#pragma once

#include "CBitmap.h"
#include "CView.h"

#include <memory>

// The panel under all controls: its bitmap, or a dark fill without one.
class CBackgroundView : public CView
{
public:
    CBackgroundView(const CRect& size, std::shared_ptr<const CBitmap> background);

    void draw(CDrawContext& context) override;

private:
    std::shared_ptr<const CBitmap> background;
};
