#pragma once

#include <cstdint>

// The host's side of the screen for editor tests: its own X connection, a
// top-level parent window at the screen's top left corner for the editor to
// live in, and a synthetic mouse and keyboard (XTest) that act on the
// server as a user would. Xlib stays inside this unit.
class TestDesktop
{
public:
    TestDesktop(int width, int height);
    ~TestDesktop();
    TestDesktop(const TestDesktop&) = delete;
    TestDesktop& operator=(const TestDesktop&) = delete;

    bool isConnected() const { return display != nullptr; }
    // The parent window handed to effEditOpen.
    void* getParentHandle() const;

    // The editor's window (the parent's only child), 0 if none.
    uintptr_t findEditorWindow() const;
    // Size of a window and whether it is mapped and viewable.
    bool getWindowSize(uintptr_t window, int& width, int& height) const;
    bool isViewable(uintptr_t window) const;
    // What the parent shows at a point (the editor's pixels over it).
    unsigned long pixelAt(int x, int y) const;

    // Mouse in parent coordinates; buttons 1 (left), 4 and 5 (wheel).
    void moveMouse(int x, int y);
    void pressButton(int button);
    void releaseButton(int button);
    void holdShift(bool down);
    void holdControl(bool down);

    // Sends a request the server refuses (BadWindow) and waits for the
    // error to come back.
    void makeFailingRequest();

    // Destroys the parent window as a host that closes it too early does.
    void destroyParent();

private:
    void fakeKey(unsigned long keysym, bool down);

    struct _XDisplay* display;
    unsigned long parent;
};
