#pragma once

#include <cstdio>
#include <sys/types.h>

// A private X server for the tests: Xvfb on a free display number (it
// reports the number it took), DISPLAY pointing at it for this process.
class XvfbServer
{
public:
    XvfbServer();
    // Stops the server.
    ~XvfbServer();
    XvfbServer(const XvfbServer&) = delete;
    XvfbServer& operator=(const XvfbServer&) = delete;

    bool isRunning() const { return server > 0 && keeper; }

private:
    // The server's standard output, where it wrote its display number.
    FILE* output;
    pid_t server;
    // Held open for the server's whole life (see -terminate).
    struct _XDisplay* keeper;
};
