#include "CFrame.h"

CFrame::CFrame(uintptr_t parentWindow, int width, int height, std::shared_ptr<const CBitmap> panel)
    : application(new DGL_NAMESPACE::Application(false)),
      window(new DGL_NAMESPACE::Window(*application, parentWindow, static_cast<unsigned>(width),
                                       static_cast<unsigned>(height), 1.0, false))
{
    const DGL_NAMESPACE::Window::ScopedGraphicsContext context(*window);
    background.reset(new CBackgroundView(*window, std::move(panel)));
    background->setSize(static_cast<unsigned>(width), static_cast<unsigned>(height));
}

CFrame::~CFrame()
{
    // Views unregister from their parent, so they go before it.
    while (!views.empty())
    {
        views.pop_back();
    }
    background.reset();
    window.reset();
    application.reset();
}

void CFrame::addView(DGL_NAMESPACE::SubWidget* view)
{
    views.emplace_back(view);
}

void CFrame::idle()
{
    application->idle();
}
