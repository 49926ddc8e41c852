#include "CBackgroundView.h"

#include "CDrawContext.h"

CBackgroundView::CBackgroundView(const CRect& size, std::shared_ptr<const CBitmap> background)
    : CView(size), background(std::move(background))
{
    setMouseEnabled(false);
}

void CBackgroundView::draw(CDrawContext& context)
{
    const CRect size = getViewSize();
    if (background && background->isLoaded())
    {
        context.drawBitmap(*background, 0.0, 0.0, 0, background->getHeight());
    }
    else
    {
        context.fillRect(0.0, 0.0, size.width(), size.height(), {26, 28, 31, 255});
    }
}
