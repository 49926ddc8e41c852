#include "CBackgroundView.h"

CBackgroundView::CBackgroundView(DGL_NAMESPACE::Window& window, std::shared_ptr<const CBitmap> background)
    : DGL_NAMESPACE::CairoTopLevelWidget(window), background(std::move(background)), paintCount(0)
{
}

void CBackgroundView::onCairoDisplay(const DGL_NAMESPACE::CairoGraphicsContext& context)
{
    cairo_t* cr = context.handle;
    if (background && background->isLoaded())
    {
        background->drawFrame(cr, 0.0, 0.0, 0, background->getHeight());
    }
    else
    {
        cairo_set_source_rgb(cr, 0.1, 0.11, 0.12);
        cairo_paint(cr);
    }
    ++paintCount;
}
