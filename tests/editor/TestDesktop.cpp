#include "TestDesktop.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

TestDesktop::TestDesktop(int width, int height) : display(XOpenDisplay(nullptr)), parent(0)
{
    if (!display)
    {
        return;
    }
    const int screen = DefaultScreen(display);
    parent = XCreateSimpleWindow(display, RootWindow(display, screen), 0, 0, static_cast<unsigned>(width),
                                 static_cast<unsigned>(height), 0, BlackPixel(display, screen),
                                 BlackPixel(display, screen));
    XSelectInput(display, parent, StructureNotifyMask);
    XMapWindow(display, parent);
    // Wait until the server has mapped it.
    XEvent event;
    do
    {
        XNextEvent(display, &event);
    } while (event.type != MapNotify);
    XSelectInput(display, parent, NoEventMask);
    XSync(display, False);
}

TestDesktop::~TestDesktop()
{
    if (display)
    {
        if (parent)
        {
            XDestroyWindow(display, parent);
        }
        XCloseDisplay(display);
    }
}

void* TestDesktop::getParentHandle() const
{
    return reinterpret_cast<void*>(static_cast<uintptr_t>(parent));
}

uintptr_t TestDesktop::findEditorWindow() const
{
    if (!parent)
    {
        return 0;
    }
    ::Window root = 0;
    ::Window parentOfParent = 0;
    ::Window* children = nullptr;
    unsigned int count = 0;
    uintptr_t child = 0;
    if (XQueryTree(display, parent, &root, &parentOfParent, &children, &count) && count > 0)
    {
        child = children[0];
    }
    if (children)
    {
        XFree(children);
    }
    return child;
}

bool TestDesktop::getWindowSize(uintptr_t window, int& width, int& height) const
{
    XWindowAttributes attributes;
    if (!window || !XGetWindowAttributes(display, window, &attributes))
    {
        return false;
    }
    width = attributes.width;
    height = attributes.height;
    return true;
}

unsigned long TestDesktop::pixelAt(int x, int y) const
{
    XImage* image = XGetImage(display, parent, x, y, 1, 1, AllPlanes, ZPixmap);
    if (!image)
    {
        return 0;
    }
    const unsigned long pixel = XGetPixel(image, 0, 0);
    XDestroyImage(image);
    return pixel;
}

bool TestDesktop::isViewable(uintptr_t window) const
{
    XWindowAttributes attributes;
    return window && XGetWindowAttributes(display, window, &attributes) && attributes.map_state == IsViewable;
}

void TestDesktop::moveMouse(int x, int y)
{
    // The parent sits at the screen's origin, so its coordinates are the
    // screen's.
    XTestFakeMotionEvent(display, DefaultScreen(display), x, y, CurrentTime);
    XSync(display, False);
}

void TestDesktop::pressButton(int button)
{
    XTestFakeButtonEvent(display, static_cast<unsigned>(button), True, CurrentTime);
    XSync(display, False);
}

void TestDesktop::releaseButton(int button)
{
    XTestFakeButtonEvent(display, static_cast<unsigned>(button), False, CurrentTime);
    XSync(display, False);
}

void TestDesktop::holdShift(bool down)
{
    fakeKey(XK_Shift_L, down);
}

void TestDesktop::holdControl(bool down)
{
    fakeKey(XK_Control_L, down);
}

void TestDesktop::fakeKey(unsigned long keysym, bool down)
{
    XTestFakeKeyEvent(display, XKeysymToKeycode(display, keysym), down ? True : False, CurrentTime);
    XSync(display, False);
}

void TestDesktop::destroyParent()
{
    if (parent)
    {
        XDestroyWindow(display, parent);
        XSync(display, False);
        parent = 0;
    }
}

void TestDesktop::makeFailingRequest()
{
    // No client owns this window id.
    XUnmapWindow(display, 0x1fffffff);
    XSync(display, False);
}
