#include "AudioEffect.h"

// On Windows exports.def names the exports.
#ifdef _WIN32
#define PALISORNE_EXPORT extern "C"
#else
#define PALISORNE_EXPORT extern "C" __attribute__((visibility("default")))
#endif

// The host's entry: null when the host reports no VST version or when no
// effect could be made; nothing is thrown across the interface.
PALISORNE_EXPORT AEffect* VSTPluginMain(audioMasterCallback audioMaster)
{
    if (!audioMaster || audioMaster(nullptr, audioMasterVersion, 0, 0, nullptr, 0.0f) == 0)
    {
        return nullptr;
    }
    try
    {
        AudioEffect* effect = createEffectInstance(audioMaster);
        return effect ? effect->getAeffect() : nullptr;
    }
    catch (...)
    {
        return nullptr;
    }
}

// Older hosts look for "main". C++ does not allow a function of that name
// with this signature, so the symbol is given its name by the assembler.
PALISORNE_EXPORT AEffect* vstPluginMainAlias(audioMasterCallback audioMaster) __asm__("main");

AEffect* vstPluginMainAlias(audioMasterCallback audioMaster)
{
    return VSTPluginMain(audioMaster);
}
