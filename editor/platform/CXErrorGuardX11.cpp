#include "CXErrorGuard.h"

#include <X11/Xlib.h>

#include <mutex>

namespace
{
// The handler in force before the outermost guard of any thread; shared by
// all threads because Xlib's handler is one per process.
std::mutex handlerMutex;
XErrorHandler previousHandler = nullptr;
int activeGuards = 0;

thread_local int guardsOnThisThread = 0;
thread_local unsigned long droppedOnThisThread = 0;

int dropOrForward(Display* display, XErrorEvent* event)
{
    if (guardsOnThisThread > 0)
    {
        ++droppedOnThisThread;
        return 0;
    }
    XErrorHandler forward = nullptr;
    {
        std::lock_guard<std::mutex> lock(handlerMutex);
        forward = previousHandler;
    }
    return forward ? forward(display, event) : 0;
}
}

CXErrorGuard::CXErrorGuard()
{
    ++guardsOnThisThread;
    std::lock_guard<std::mutex> lock(handlerMutex);
    if (activeGuards++ == 0)
    {
        previousHandler = XSetErrorHandler(dropOrForward);
    }
}

CXErrorGuard::~CXErrorGuard()
{
    {
        std::lock_guard<std::mutex> lock(handlerMutex);
        if (--activeGuards == 0)
        {
            XSetErrorHandler(previousHandler);
            previousHandler = nullptr;
        }
    }
    --guardsOnThisThread;
}

unsigned long CXErrorGuard::getDroppedErrors()
{
    return droppedOnThisThread;
}
