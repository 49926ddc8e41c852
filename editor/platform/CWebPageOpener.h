#pragma once

#include <cstdint>

// Opens a web page in the desktop's browser: ShellExecuteA "open" on
// Windows; xdg-open started directly on Linux (no shell ever sees the
// address), one at a time, reaped when it has finished.
class CWebPageOpener
{
public:
    CWebPageOpener() = default;
    // Reaps the opener if it has finished.
    ~CWebPageOpener();
    CWebPageOpener(const CWebPageOpener&) = delete;
    CWebPageOpener& operator=(const CWebPageOpener&) = delete;

    void open(const char* address);

private:
    void reap();

    // The running opener's process id on Linux, 0 when there is none.
    std::intptr_t opener = 0;
};
