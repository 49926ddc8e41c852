// Small modules for the loader's tests, one per build variant:
//   PROBE_VARIANT_ECHO       a working effect that relays host questions: its
//                            effVendorSpecific asks the host opcode `index`
//                            with (value, ptr, opt) and returns the answer
//   PROBE_VARIANT_MAIN_ONLY  the same effect, exported only as "main"
//   PROBE_VARIANT_NULL       an entry point that creates nothing
//   PROBE_VARIANT_BAD_MAGIC  an entry point returning a record without the magic
//   PROBE_VARIANT_NO_ENTRY   a library without any entry point
#include "aeffectx.h"

#include <cstring>

#ifdef _WIN32
#define PROBE_EXPORT extern "C" __declspec(dllexport)
#else
#define PROBE_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace
{
struct Probe
{
    AEffect record;
    audioMasterCallback host;
};

VstIntPtr probeDispatcher(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt)
{
    Probe* probe = static_cast<Probe*>(effect->object);
    switch (opcode)
    {
    case effClose:
        delete probe;
        return 1;
    case effGetEffectName:
        std::strcpy(static_cast<char*>(ptr), "Probe");
        return 1;
    case effVendorSpecific:
        return probe->host(effect, index, 0, value, ptr, opt);
    default:
        return 0;
    }
}

[[maybe_unused]] AEffect* createProbe(audioMasterCallback host)
{
    Probe* probe = new Probe();
    probe->host = host;
    probe->record.magic = kEffectMagic;
    probe->record.dispatcher = probeDispatcher;
    probe->record.numInputs = 1;
    probe->record.numOutputs = 1;
    probe->record.object = probe;
    probe->record.uniqueID = vstFourCharCode('P', 'r', 'b', 'e');
    // Asks before the host has the record, as effects do in their constructors.
    host(&probe->record, audioMasterAutomate, 7, 0, nullptr, 0.625f);
    return &probe->record;
}
}

#if defined(PROBE_VARIANT_ECHO)
PROBE_EXPORT AEffect* VSTPluginMain(audioMasterCallback host)
{
    return createProbe(host);
}
#elif defined(PROBE_VARIANT_MAIN_ONLY)
PROBE_EXPORT AEffect* probeMain(audioMasterCallback host) __asm__("main");
AEffect* probeMain(audioMasterCallback host)
{
    return createProbe(host);
}
#elif defined(PROBE_VARIANT_NULL)
PROBE_EXPORT AEffect* VSTPluginMain(audioMasterCallback)
{
    return nullptr;
}
#elif defined(PROBE_VARIANT_BAD_MAGIC)
PROBE_EXPORT AEffect* VSTPluginMain(audioMasterCallback)
{
    static AEffect notAnEffect{};
    notAnEffect.magic = vstFourCharCode('V', 's', 't', 'X');
    return &notAnEffect;
}
#elif defined(PROBE_VARIANT_NO_ENTRY)
PROBE_EXPORT int probeSomethingElse()
{
    return 42;
}
#endif
