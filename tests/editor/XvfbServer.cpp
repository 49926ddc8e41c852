#include "XvfbServer.h"

#include <X11/Xlib.h>

#include <csignal>
#include <cstdlib>
#include <string>

XvfbServer::XvfbServer() : output(nullptr), server(0), keeper(nullptr)
{
    // The shell writes its process id and becomes the server, which writes
    // its display number once it accepts connections; its chatter would mix
    // with the test report. -terminate: the server ends when its last
    // client goes, which the connection held below makes the moment this
    // process ends, however it ends.
    output = popen("echo $$; exec Xvfb -displayfd 1 -screen 0 1280x1024x24 -nolisten tcp -terminate 2>/dev/null",
                   "re");
    int pid = 0;
    int number = 0;
    if (!output || std::fscanf(output, "%d %d", &pid, &number) != 2)
    {
        return;
    }
    server = pid;
    setenv("DISPLAY", (":" + std::to_string(number)).c_str(), 1);
    keeper = XOpenDisplay(nullptr);
}

XvfbServer::~XvfbServer()
{
    if (keeper)
    {
        XCloseDisplay(keeper);
    }
    if (server > 0)
    {
        kill(server, SIGTERM);
    }
    if (output)
    {
        pclose(output);
    }
}
