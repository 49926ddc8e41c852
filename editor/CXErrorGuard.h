#pragma once

// While one exists, X protocol errors that reach Xlib on the thread that
// made it are counted and dropped instead of going to the process's error
// handler, whose default ends the program. The editor holds one around
// every call into its window (open, idle, parameter refresh, close), so a
// host that destroys the parent window first costs a few ignored BadWindow
// errors, not the host. Errors read on other threads go to the handler that
// was installed before. Guards nest on one thread.
class CXErrorGuard
{
public:
    CXErrorGuard();
    ~CXErrorGuard();
    CXErrorGuard(const CXErrorGuard&) = delete;
    CXErrorGuard& operator=(const CXErrorGuard&) = delete;

    // Errors dropped by the guards of this thread since the program started.
    static unsigned long getDroppedErrors();
};
