#pragma once

#include <cstdint>
#include <vector>

// The host's side of the screen for editor tests: a top-level parent window
// at the screen's top left corner for the editor to live in, the host's
// event loop, and a synthetic mouse and keyboard that act as a user would.
// One back end per platform (X11 with XTest, Win32 with SendInput) keeps
// the window system inside its own file.
class TestDesktop
{
public:
    TestDesktop(int width, int height);
    ~TestDesktop();
    TestDesktop(const TestDesktop&) = delete;
    TestDesktop& operator=(const TestDesktop&) = delete;

    bool isConnected() const;
    // The parent window handed to effEditOpen.
    void* getParentHandle() const;
    // What a host's event loop does between its idle calls.
    void handleEvents();

    // The editor's window (the parent's only child), 0 if none.
    uintptr_t findEditorWindow() const;
    // Size of a window and whether it is shown.
    bool getWindowSize(uintptr_t window, int& width, int& height) const;
    bool isViewable(uintptr_t window) const;
    // What the parent shows (the editor's pixels over it), 0xRRGGBB, row
    // by row; empty if it cannot be read.
    std::vector<uint32_t> picture() const;

    // Mouse in parent coordinates; buttons 1 (left), 4 and 5 (wheel up and
    // down, one detent per press).
    void moveMouse(int x, int y);
    void pressButton(int button);
    void releaseButton(int button);
    void holdShift(bool down);
    void holdControl(bool down);

    // Destroys the parent window as a host that closes it too early does.
    void destroyParent();

private:
    int width;
    int height;
    // The X connection (X11 back end only).
    struct _XDisplay* display;
    uintptr_t parent;
};
