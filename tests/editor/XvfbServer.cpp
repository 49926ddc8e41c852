#include "XvfbServer.h"

#include <X11/Xlib.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

XvfbServer::XvfbServer() : server(0), keeper(nullptr)
{
    int pipeFds[2];
    if (pipe(pipeFds) != 0)
    {
        return;
    }
    const std::string fd = std::to_string(pipeFds[1]);
    // -terminate: the server ends when its last client goes, which the
    // connection held below makes the moment this process ends, however it
    // ends.
    const char* arguments[] = {"Xvfb", "-displayfd", fd.c_str(), "-screen", "0", "1280x1024x24", "-nolisten", "tcp",
                               "-terminate", nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addclose(&actions, pipeFds[0]);
    // The server's chatter would mix with the test report.
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int spawned = posix_spawnp(&child, "Xvfb", &actions, nullptr, const_cast<char**>(arguments), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeFds[1]);
    if (spawned != 0)
    {
        close(pipeFds[0]);
        return;
    }
    server = child;

    // The server writes its display number once it accepts connections.
    std::string number;
    pollfd ready = {pipeFds[0], POLLIN, 0};
    while (poll(&ready, 1, 10000) > 0)
    {
        char c = 0;
        if (read(pipeFds[0], &c, 1) != 1 || c == '\n')
        {
            break;
        }
        number += c;
    }
    close(pipeFds[0]);
    if (number.empty())
    {
        kill(server, SIGTERM);
        waitpid(server, nullptr, 0);
        server = 0;
        return;
    }
    setenv("DISPLAY", (":" + number).c_str(), 1);
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
        waitpid(server, nullptr, 0);
    }
}
