#include "SharedLibrary.h"

#include <stdexcept>

#ifdef _WIN32
#include <windows.h>

namespace
{
std::string lastErrorText()
{
    const DWORD error = GetLastError();
    char* text = nullptr;
    const DWORD length =
        FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                       nullptr, error, 0, reinterpret_cast<char*>(&text), 0, nullptr);
    std::string reason = length ? std::string(text, length) : "error " + std::to_string(error);
    LocalFree(text);
    while (!reason.empty() && (reason.back() == '\n' || reason.back() == '\r' || reason.back() == ' '))
    {
        reason.pop_back();
    }
    return reason;
}
}

SharedLibrary::SharedLibrary(const std::string& path)
{
    // No "cannot find a DLL" dialog box: a host reports the error itself.
    const UINT previousMode = SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
    handle = LoadLibraryA(path.c_str());
    const std::string reason = handle ? std::string() : lastErrorText();
    SetErrorMode(previousMode);
    if (!handle)
    {
        throw std::runtime_error("cannot load " + path + ": " + reason);
    }
}

SharedLibrary::~SharedLibrary()
{
    FreeLibrary(static_cast<HMODULE>(handle));
}

void* SharedLibrary::symbol(const char* name) const
{
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle), name));
}

#else
#include <dlfcn.h>

SharedLibrary::SharedLibrary(const std::string& path)
{
    handle = dlopen(path.c_str(), RTLD_LOCAL | RTLD_NOW);
    if (!handle)
    {
        const char* reason = dlerror();
        throw std::runtime_error("cannot load " + path + ": " + (reason ? reason : "unknown reason"));
    }
}

SharedLibrary::~SharedLibrary()
{
    dlclose(handle);
}

void* SharedLibrary::symbol(const char* name) const
{
    return dlsym(handle, name);
}
#endif
