#include "CWebPageOpener.h"

#include <spawn.h>
#include <sys/wait.h>

#include <string>

extern char** environ;

CWebPageOpener::~CWebPageOpener()
{
    reap();
}

void CWebPageOpener::open(const char* address)
{
    // One opener at a time: a click while the previous one still runs (it
    // usually returns as soon as the browser has the page) does nothing.
    reap();
    if (opener != 0)
    {
        return;
    }
    std::string page(address);
    char program[] = "xdg-open";
    char* arguments[] = {program, &page[0], nullptr};
    pid_t child = 0;
    if (posix_spawnp(&child, program, nullptr, nullptr, arguments, environ) == 0)
    {
        opener = child;
    }
}

void CWebPageOpener::reap()
{
    if (opener != 0 && waitpid(static_cast<pid_t>(opener), nullptr, WNOHANG) != 0)
    {
        opener = 0;
    }
}
