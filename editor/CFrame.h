#pragma once

#include "CBackgroundView.h"

#include "Application.hpp"
#include "SubWidget.hpp"
#include "Window.hpp"

#include <cstdint>
#include <memory>
#include <vector>

// The editor's window inside the host's parent window: its own event loop
// (driven by idle, never blocking), the panel view, and the views added to
// it, which it owns and draws in the order they were added.
class CFrame
{
public:
    CFrame(uintptr_t parentWindow, int width, int height, std::shared_ptr<const CBitmap> background);
    // Destroys the views, then the panel, the window and its event loop.
    ~CFrame();
    CFrame(const CFrame&) = delete;
    CFrame& operator=(const CFrame&) = delete;

    // What views are built on (their parent widget).
    DGL_NAMESPACE::Widget* getContainer() { return background.get(); }
    // Takes ownership.
    void addView(DGL_NAMESPACE::SubWidget* view);

    // Handles the window's pending events and repaints what changed.
    void idle();

    // The X window of the editor.
    uintptr_t getNativeWindow() const { return window->getNativeWindowHandle(); }
    int getWidth() const { return static_cast<int>(window->getWidth()); }
    int getHeight() const { return static_cast<int>(window->getHeight()); }
    const CBackgroundView& getBackgroundView() const { return *background; }

private:
    std::unique_ptr<DGL_NAMESPACE::Application> application;
    std::unique_ptr<DGL_NAMESPACE::Window> window;
    std::unique_ptr<CBackgroundView> background;
    std::vector<std::unique_ptr<DGL_NAMESPACE::SubWidget>> views;
};
