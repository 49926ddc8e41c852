#pragma once

#include "CBitmap.h"

#include "Cairo.hpp"

#include <memory>

// The window's top-level view: paints the panel bitmap under all controls.
class CBackgroundView : public DGL_NAMESPACE::CairoTopLevelWidget
{
public:
    CBackgroundView(DGL_NAMESPACE::Window& window, std::shared_ptr<const CBitmap> background);

    // How many times the panel was painted (the window's paints).
    unsigned getPaintCount() const { return paintCount; }

protected:
    void onCairoDisplay(const DGL_NAMESPACE::CairoGraphicsContext& context) override;

private:
    std::shared_ptr<const CBitmap> background;
    unsigned paintCount;
};
