#pragma once

#include <string>

// A module file loaded into the process: dlopen (RTLD_LOCAL | RTLD_NOW) on
// Linux, LoadLibrary on Windows. Unloaded by the destructor.
class SharedLibrary
{
public:
    // Throws std::runtime_error "cannot load <path>: <reason>".
    explicit SharedLibrary(const std::string& path);
    ~SharedLibrary();
    SharedLibrary(const SharedLibrary&) = delete;
    SharedLibrary& operator=(const SharedLibrary&) = delete;

    // The exported function or object of that name; null when there is none.
    void* symbol(const char* name) const;

private:
    void* handle;
};
