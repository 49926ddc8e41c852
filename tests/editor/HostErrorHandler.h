#pragma once

// Stands for a host's own X error handler: counts the errors it is given
// (from any thread). Installed for its lifetime; the one before comes back.
class HostErrorHandler
{
public:
    HostErrorHandler();
    ~HostErrorHandler();
    HostErrorHandler(const HostErrorHandler&) = delete;
    HostErrorHandler& operator=(const HostErrorHandler&) = delete;

    int count() const;
};
