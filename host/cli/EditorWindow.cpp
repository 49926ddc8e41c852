#include "EditorWindow.h"

#include "HostError.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <cairo.h>

#include <cstring>

EditorWindow::EditorWindow(int width, int height, const std::string& title)
    : display(XOpenDisplay(nullptr)), window(0), deleteMessage(0), width(width), height(height),
      closeRequested(false)
{
    if (!display)
    {
        throw HostError("cannot open the X display (is DISPLAY set?)");
    }
    const int screen = DefaultScreen(display);
    window = XCreateSimpleWindow(display, RootWindow(display, screen), 0, 0, static_cast<unsigned>(width),
                                 static_cast<unsigned>(height), 0, BlackPixel(display, screen),
                                 BlackPixel(display, screen));
    XStoreName(display, window, title.c_str());
    // A fixed size, as the editor's is.
    XSizeHints* hints = XAllocSizeHints();
    hints->flags = PMinSize | PMaxSize;
    hints->min_width = hints->max_width = width;
    hints->min_height = hints->max_height = height;
    XSetWMNormalHints(display, window, hints);
    XFree(hints);
    Atom protocol = XInternAtom(display, "WM_DELETE_WINDOW", False);
    deleteMessage = protocol;
    XSetWMProtocols(display, window, &protocol, 1);
    XSelectInput(display, window, StructureNotifyMask);
    XMapWindow(display, window);
    XEvent event;
    do
    {
        XNextEvent(display, &event);
    } while (event.type != MapNotify);
}

EditorWindow::~EditorWindow()
{
    XDestroyWindow(display, window);
    XCloseDisplay(display);
}

void* EditorWindow::getParentHandle() const
{
    return reinterpret_cast<void*>(static_cast<uintptr_t>(window));
}

bool EditorWindow::handleEvents()
{
    while (XPending(display) > 0)
    {
        XEvent event;
        XNextEvent(display, &event);
        if (event.type == ClientMessage && static_cast<unsigned long>(event.xclient.data.l[0]) == deleteMessage)
        {
            closeRequested = true;
        }
    }
    return !closeRequested;
}

bool EditorWindow::showsEditor() const
{
    ::Window root = 0;
    ::Window parent = 0;
    ::Window* children = nullptr;
    unsigned int count = 0;
    bool viewable = false;
    if (XQueryTree(display, window, &root, &parent, &children, &count) && count > 0)
    {
        XWindowAttributes attributes;
        viewable = XGetWindowAttributes(display, children[0], &attributes) && attributes.map_state == IsViewable;
    }
    if (children)
    {
        XFree(children);
    }
    return viewable;
}

void EditorWindow::saveScreenshot(const std::string& path) const
{
    XImage* image = XGetImage(display, window, 0, 0, static_cast<unsigned>(width), static_cast<unsigned>(height),
                              AllPlanes, ZPixmap);
    if (!image)
    {
        throw HostError("cannot read the editor window's pixels");
    }
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    unsigned char* pixels = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    for (int y = 0; y < height; ++y)
    {
        uint32_t* row = reinterpret_cast<uint32_t*>(pixels + y * stride);
        for (int x = 0; x < width; ++x)
        {
            const unsigned long pixel = XGetPixel(image, x, y);
            // Whatever the visual's masks, put red, green and blue where
            // Cairo keeps them.
            auto channel = [pixel](unsigned long mask) {
                unsigned long value = pixel & mask;
                unsigned long top = mask;
                while (top && !(top & 1))
                {
                    top >>= 1;
                    value >>= 1;
                }
                return top ? static_cast<uint32_t>(value * 255 / top) : 0u;
            };
            row[x] = (channel(image->red_mask) << 16) | (channel(image->green_mask) << 8) | channel(image->blue_mask);
        }
    }
    cairo_surface_mark_dirty(surface);
    XDestroyImage(image);
    const cairo_status_t status = cairo_surface_write_to_png(surface, path.c_str());
    cairo_surface_destroy(surface);
    if (status != CAIRO_STATUS_SUCCESS)
    {
        throw HostError("cannot write the screenshot " + path + ": " + cairo_status_to_string(status));
    }
}
