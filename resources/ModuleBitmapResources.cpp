#include "BitmapResources.h"

#include <windows.h>

#include <cctype>
#include <string>

namespace
{
// The module this code is linked into: the plug-in's DLL inside a host.
HMODULE thisModule()
{
    HMODULE module = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCSTR>(&thisModule), &module);
    return module;
}

// The names are upper case, as the resource compiler stores them.
const char* const resourceNames[] = {"GUI.PNG", "INFO.PNG", "KNOB.PNG", "KNOB_LARGE.PNG", "SWITCH.PNG"};
constexpr int resourceCount = sizeof resourceNames / sizeof resourceNames[0];

struct ResourceTable
{
    BitmapResource bitmaps[resourceCount] = {};

    // Resource data stays mapped while the module is loaded; a bitmap the
    // module lacks keeps null bytes.
    ResourceTable()
    {
        const HMODULE module = thisModule();
        for (int index = 0; index < resourceCount; ++index)
        {
            HRSRC info = FindResourceA(module, resourceNames[index], MAKEINTRESOURCEA(10)); // RT_RCDATA
            HGLOBAL data = info ? LoadResource(module, info) : nullptr;
            const void* bytes = data ? LockResource(data) : nullptr;
            if (bytes)
            {
                bitmaps[index] = {resourceNames[index], static_cast<const unsigned char*>(bytes),
                                  SizeofResource(module, info)};
            }
        }
    }
};
}

const BitmapResource* findBitmapResource(const char* name)
{
    if (!name)
    {
        return nullptr;
    }
    std::string upper(name);
    for (char& c : upper)
    {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    for (int index = 0; index < resourceCount; ++index)
    {
        if (upper == resourceNames[index])
        {
            // Loaded once, by whichever thread asks first.
            static const ResourceTable table;
            return table.bitmaps[index].bytes ? &table.bitmaps[index] : nullptr;
        }
    }
    return nullptr;
}
