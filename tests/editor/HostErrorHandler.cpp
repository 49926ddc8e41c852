#include "HostErrorHandler.h"

#include <X11/Xlib.h>

#include <atomic>

namespace
{
std::atomic<int> errors(0);
XErrorHandler previous = nullptr;

int countError(Display*, XErrorEvent*)
{
    ++errors;
    return 0;
}
}

HostErrorHandler::HostErrorHandler()
{
    errors = 0;
    previous = XSetErrorHandler(countError);
}

HostErrorHandler::~HostErrorHandler()
{
    XSetErrorHandler(previous);
}

int HostErrorHandler::count() const
{
    return errors.load();
}
