#include "TestDesktop.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace
{
Display* connection(void* display)
{
    return static_cast<Display*>(display);
}

void fakeKey(Display* display, KeySym keysym, bool down)
{
    XTestFakeKeyEvent(display, XKeysymToKeycode(display, keysym), down ? True : False, CurrentTime);
    XSync(display, False);
}
}

TestDesktop::TestDesktop(int width, int height)
    : width(width), height(height), display(XOpenDisplay(nullptr)), parent(0)
{
    Display* display = connection(this->display);
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
        XCloseDisplay(connection(display));
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
    if (!parent)
    {
        return 0;
    }
    ::Window root = 0;
    ::Window parentOfParent = 0;
    ::Window* children = nullptr;
    unsigned int count = 0;
    uintptr_t child = 0;
    if (XQueryTree(connection(display), parent, &root, &parentOfParent, &children, &count) && count > 0)
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
    if (!window || !XGetWindowAttributes(connection(display), window, &attributes))
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
    XImage* image = parent ? XGetImage(connection(display), parent, 0, 0, static_cast<unsigned>(width),
                                       static_cast<unsigned>(height), AllPlanes, ZPixmap)
                           : nullptr;
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

uint32_t TestDesktop::pixelAt(int x, int y) const
{
    XImage* image = XGetImage(connection(display), parent, x, y, 1, 1, AllPlanes, ZPixmap);
    if (!image)
    {
        return 0;
    }
    const uint32_t pixel = static_cast<uint32_t>(XGetPixel(image, 0, 0));
    XDestroyImage(image);
    return pixel;
}

bool TestDesktop::isViewable(uintptr_t window) const
{
    XWindowAttributes attributes;
    return window && XGetWindowAttributes(connection(display), window, &attributes) && attributes.map_state == IsViewable;
}

void TestDesktop::moveMouse(int x, int y)
{
    // The parent sits at the screen's origin, so its coordinates are the
    // screen's.
    XTestFakeMotionEvent(connection(display), DefaultScreen(connection(display)), x, y, CurrentTime);
    XSync(connection(display), False);
}

void TestDesktop::pressButton(int button)
{
    XTestFakeButtonEvent(connection(display), static_cast<unsigned>(button), True, CurrentTime);
    XSync(connection(display), False);
}

void TestDesktop::releaseButton(int button)
{
    XTestFakeButtonEvent(connection(display), static_cast<unsigned>(button), False, CurrentTime);
    XSync(connection(display), False);
}

void TestDesktop::holdShift(bool down)
{
    fakeKey(connection(display), XK_Shift_L, down);
}

void TestDesktop::holdControl(bool down)
{
    fakeKey(connection(display), XK_Control_L, down);
}

void TestDesktop::destroyParent()
{
    if (parent)
    {
        XDestroyWindow(connection(display), parent);
        XSync(connection(display), False);
        parent = 0;
    }
}
