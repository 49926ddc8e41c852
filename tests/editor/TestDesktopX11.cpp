#include "TestDesktop.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace
{
void fakeKey(Display* display, KeySym keysym, bool down)
{
    XTestFakeKeyEvent(display, XKeysymToKeycode(display, keysym), down ? True : False, CurrentTime);
    XSync(display, False);
}
}

TestDesktop::TestDesktop(int width, int height)
    : width(width), height(height), display(XOpenDisplay(nullptr)), parent(0)
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
        destroyParent();
        XCloseDisplay(display);
    }
}

bool TestDesktop::isConnected() const
{
    return display != nullptr;
}

void* TestDesktop::getParentHandle() const
{
    return reinterpret_cast<void*>(parent);
}

void TestDesktop::handleEvents()
{
    // The editor has a connection of its own: nothing of it arrives here.
}

uintptr_t TestDesktop::findEditorWindow() const
{
    ::Window root = 0;
    ::Window parentOfParent = 0;
    ::Window* children = nullptr;
    unsigned int count = 0;
    if (!parent || !XQueryTree(display, parent, &root, &parentOfParent, &children, &count))
    {
        return 0;
    }
    const uintptr_t child = count > 0 ? children[0] : 0;
    XFree(children);
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

std::vector<uint32_t> TestDesktop::picture() const
{
    std::vector<uint32_t> pixels;
    XImage* image = parent ? XGetImage(display, parent, 0, 0, width, height, AllPlanes, ZPixmap) : nullptr;
    if (!image)
    {
        return pixels;
    }
    // The tests' servers are 24-bit TrueColor: a pixel is 0xRRGGBB.
    for (int y = 0; y < height; ++y)
    {
        for (int x = 0; x < width; ++x)
        {
            pixels.push_back(static_cast<uint32_t>(XGetPixel(image, x, y)));
        }
    }
    XDestroyImage(image);
    return pixels;
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
    XTestFakeButtonEvent(display, button, True, CurrentTime);
    XSync(display, False);
}

void TestDesktop::releaseButton(int button)
{
    XTestFakeButtonEvent(display, button, False, CurrentTime);
    XSync(display, False);
}

void TestDesktop::holdShift(bool down)
{
    fakeKey(display, XK_Shift_L, down);
}

void TestDesktop::holdControl(bool down)
{
    fakeKey(display, XK_Control_L, down);
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
