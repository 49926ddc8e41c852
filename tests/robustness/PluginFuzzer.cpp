// libFuzzer target: every input is a session of host calls (FuzzCommand.h)
// against a fresh instance of the module, loaded like any plug-in.
#include "FuzzReader.h"
#include "FuzzSession.h"

#include <dlfcn.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // Loaded once for the whole run and never unloaded: each instance's own
    // load and unload then costs a reference count, not a relocation.
    if (!dlopen(PALISORNE_MODULE_PATH, RTLD_NOW | RTLD_LOCAL))
    {
        std::fprintf(stderr, "cannot load %s: %s\n", PALISORNE_MODULE_PATH, dlerror());
        std::exit(1);
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzReader input(data, size);
    FuzzSession session;
    session.run(input);
    return 0;
}
