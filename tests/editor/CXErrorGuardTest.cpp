#include "CXErrorGuard.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

// After gtest, whose names Xlib's macros would clash with.
#include <X11/Xlib.h>

// X only: Win32 reports errors per call, so its guard has nothing to drop.
namespace
{
// The host's own X error handler: counts.
std::atomic<int> hostErrors(0);
int countHostError(Display*, XErrorEvent*)
{
    ++hostErrors;
    return 0;
}

// A request the server refuses (BadWindow: no client owns this window),
// on a connection of its own; returns when the error has come back.
void makeFailingRequest()
{
    Display* display = XOpenDisplay(nullptr);
    ASSERT_NE(display, nullptr);
    XUnmapWindow(display, 0x1fffffff);
    XSync(display, False);
    XCloseDisplay(display);
}
}

TEST(XErrorGuardTest, DropsErrorsOnItsThreadAndForwardsTheRestToTheHostsHandler)
{
    const XErrorHandler previous = XSetErrorHandler(countHostError);
    makeFailingRequest();
    EXPECT_EQ(hostErrors.load(), 1);
    {
        const CXErrorGuard guard;
        const unsigned long dropped = CXErrorGuard::getDroppedErrors();
        makeFailingRequest();
        EXPECT_EQ(CXErrorGuard::getDroppedErrors(), dropped + 1);
        EXPECT_EQ(hostErrors.load(), 1);
        // Another thread's error is not the guard's business.
        std::thread other(makeFailingRequest);
        other.join();
        EXPECT_EQ(hostErrors.load(), 2);
        EXPECT_EQ(CXErrorGuard::getDroppedErrors(), dropped + 1);
    }
    // Gone: the host's handler is back in charge.
    makeFailingRequest();
    EXPECT_EQ(hostErrors.load(), 3);
    XSetErrorHandler(previous);
}
