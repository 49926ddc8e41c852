#include "FuzzSession.h"

#include "FuzzCommand.h"
#include "FuzzReader.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace
{
constexpr int parameterCount = 13;
constexpr int programCount = 64;
constexpr int maxFrames = AuditedPlugin::maxBlockSize;
// Audio per input: enough for many blocks and every state a block can leave
// behind, few enough for hundreds of inputs a minute under the sanitizers.
constexpr long framesPerSession = 1 << 14;
// What a buffer holds before the plug-in writes into it.
constexpr char untouched = 0x7F;
// Room for any structure an opcode points to.
constexpr size_t structureSize = 1024;

const size_t hostTextSizes[] = {0, 64, 256, 1024};
}

FuzzSession::FuzzSession()
    : program(0), framesProcessed(0), left(maxFrames), right(maxFrames)
{
}

FuzzSession::~FuzzSession()
{
    plugin.module().close();
}

void FuzzSession::fail(const std::string& what)
{
    std::fprintf(stderr, "plug-in contract violated: %s\n", what.c_str());
    std::fflush(stderr);
    std::abort();
}

void FuzzSession::run(FuzzReader& input)
{
    while (!input.atEnd())
    {
        switch (static_cast<FuzzCommand>(input.u8() % static_cast<uint8_t>(FuzzCommand::count)))
        {
        case FuzzCommand::dispatch:
            dispatch(input);
            break;
        case FuzzCommand::setParameter:
        {
            const int index = static_cast<int8_t>(input.u8());
            setParameter(index, input.f32());
            break;
        }
        case FuzzCommand::getParameter:
            getParameter(static_cast<int8_t>(input.u8()));
            break;
        case FuzzCommand::process:
            process(input);
            break;
        case FuzzCommand::setSampleRate:
            plugin.module().setSampleRate(input.f32());
            break;
        case FuzzCommand::setProgram:
        {
            const int requested = input.i32();
            plugin.module().setProgram(requested);
            if (requested >= 0 && requested < programCount)
            {
                program = requested;
            }
            expectProgram();
            break;
        }
        case FuzzCommand::mains:
            mains(input.u8() % static_cast<uint8_t>(FuzzMains::count));
            break;
        case FuzzCommand::setBlockSize:
            plugin.module().setBlockSize(input.i32());
            break;
        default:
            break;
        }
    }
}

void FuzzSession::expectProgram()
{
    const VstIntPtr current = plugin.module().dispatch(effGetProgram);
    if (current != program)
    {
        fail("effGetProgram answers " + std::to_string(current) + ", expected " + std::to_string(program));
    }
}

void FuzzSession::setParameter(int index, float value)
{
    const float before = plugin.module().getParameter(index);
    plugin.module().setParameter(index, value);
    const float after = plugin.module().getParameter(index);
    const bool stored = index >= 0 && index < parameterCount;
    // Finite values are stored as given, even outside 0..1; others are ignored.
    const float expected = !stored ? 0.0f : std::isfinite(value) ? value : before;
    if (std::memcmp(&after, &expected, sizeof after) != 0)
    {
        char text[160];
        std::snprintf(text, sizeof text, "parameter %d set to %.9g reads back %.9g, expected %.9g", index,
                      static_cast<double>(value), static_cast<double>(after), static_cast<double>(expected));
        fail(text);
    }
}

void FuzzSession::getParameter(int index)
{
    const float value = plugin.module().getParameter(index);
    if (!std::isfinite(value) || ((index < 0 || index >= parameterCount) && value != 0.0f))
    {
        fail("parameter " + std::to_string(index) + " reads " + std::to_string(value));
    }
}

void FuzzSession::mains(int action)
{
    switch (static_cast<FuzzMains>(action))
    {
    case FuzzMains::suspend:
        plugin.module().suspend();
        break;
    case FuzzMains::resume:
        plugin.module().resume();
        break;
    case FuzzMains::open:
        plugin.module().open();
        break;
    case FuzzMains::startProcess:
        plugin.module().dispatch(effStartProcess);
        break;
    case FuzzMains::stopProcess:
        plugin.module().dispatch(effStopProcess);
        break;
    default:
        break;
    }
}

void FuzzSession::process(FuzzReader& input)
{
    const int frames = input.u16() % (maxFrames + 1);
    const auto signal = static_cast<FuzzSignal>(input.u8() % static_cast<uint8_t>(FuzzSignal::count));
    const float amplitude = 16.0f * static_cast<float>(input.u16()) / 65535.0f;
    const uint16_t seed = input.u16();
    const bool inPlace = input.u8() & 1;

    std::vector<float> raw;
    if (signal == FuzzSignal::raw)
    {
        const int count = std::max<int>(1, input.u8() % 33);
        for (int k = 0; k < count; ++k)
        {
            raw.push_back(input.f32());
        }
    }
    if (framesProcessed + frames > framesPerSession)
    {
        return;
    }
    framesProcessed += frames;
    const float garbage[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                             -std::numeric_limits<float>::infinity(), 1e30f, 1e-40f, -0.0f, 1000.0f, 1000.001f,
                             amplitude};
    uint32_t noise = seed;
    for (int n = 0; n < frames; ++n)
    {
        float x = 0.0f;
        switch (signal)
        {
        case FuzzSignal::raw:
            x = raw[static_cast<size_t>(n) % raw.size()];
            break;
        case FuzzSignal::noise:
            noise = noise * 1664525u + 1013904223u;
            x = amplitude * (static_cast<float>(noise >> 8) / 8388608.0f - 1.0f);
            break;
        default:
            x = garbage[static_cast<size_t>(n) % (sizeof garbage / sizeof garbage[0])];
            break;
        }
        left[n] = x;
        right[n] = n % 3 ? x : -x;
    }

    plugin.process(left.data(), right.data(), frames, inPlace);
    if (!plugin.clean())
    {
        fail(plugin.firstViolation());
    }
}

void FuzzSession::dispatchText(int opcode, int index, int value, float opt, int limit, int sizeChoice,
                               bool terminates)
{
    const size_t size = std::max(hostTextSizes[sizeChoice % 4], static_cast<size_t>(limit) + 1);
    std::vector<char> text(size, untouched);
    const VstIntPtr answer = plugin.module().dispatch(opcode, index, value, text.data(), opt);
    const bool written = terminates && (opcode != effGetProgramNameIndexed || answer != 0);
    if (written && std::memchr(text.data(), '\0', static_cast<size_t>(limit) + 1) == nullptr)
    {
        fail("opcode " + std::to_string(opcode) + " leaves its text unterminated within " + std::to_string(limit)
             + " characters");
    }
    for (size_t i = static_cast<size_t>(limit) + 1; i < size; ++i)
    {
        if (text[i] != untouched)
        {
            fail("opcode " + std::to_string(opcode) + " writes past " + std::to_string(limit) + " characters");
        }
    }
}

void FuzzSession::dispatch(FuzzReader& input)
{
    const int opcode = input.i16();
    const int index = input.i32();
    const int value = input.i32();
    const float opt = input.f32();
    const int sizeChoice = input.u8();
    VstModule& module = plugin.module();
    std::vector<char> structure(structureSize, 0);

    switch (opcode)
    {
    case effClose:
        // Only as the host's last call (the destructor).
        break;
    case effGetParamLabel:
    case effGetParamDisplay:
    case effGetParamName:
    {
        // A parameter the plug-in lacks leaves every byte of the host's
        // buffer as it was (a limit of -1: nothing may be written).
        const bool known = index >= 0 && index < module.effect()->numParams;
        dispatchText(opcode, index, value, opt, known ? kVstMaxParamStrLen : -1, sizeChoice, known);
        break;
    }
    case effGetProgramName:
    case effGetProgramNameIndexed:
        dispatchText(opcode, index, value, opt, kVstMaxProgNameLen, sizeChoice, true);
        break;
    case effGetEffectName:
        dispatchText(opcode, index, value, opt, kVstMaxEffectNameLen, sizeChoice, true);
        break;
    case effGetVendorString:
    case effGetProductString:
        dispatchText(opcode, index, value, opt, kVstMaxVendorStrLen, sizeChoice, true);
        break;
    case effShellGetNextPlugin:
        dispatchText(opcode, index, value, opt, kVstMaxProductStrLen, sizeChoice, false);
        break;
    case effGetErrorText:
        dispatchText(opcode, index, value, opt, 255, sizeChoice, false);
        break;
    case effSetProgramName:
    case effCanDo:
    case effString2Parameter:
    {
        std::string text = input.text();
        const VstIntPtr answer = module.dispatch(opcode, index, value, &text[0], opt);
        if (opcode == effCanDo && (answer < -1 || answer > 1))
        {
            fail("effCanDo answers " + std::to_string(answer));
        }
        break;
    }
    case effSetProgram:
        module.dispatch(opcode, index, value, structure.data(), opt);
        if (value >= 0 && value < programCount)
        {
            program = value;
        }
        expectProgram();
        break;
    case effEditOpen:
        // No window to offer here: the torture test opens the editor for real.
        module.dispatch(opcode, index, value, nullptr, opt);
        break;
    case effEditGetRect:
    {
        ERect* rect = nullptr;
        if (module.dispatch(opcode, index, value, &rect, opt) != 0
            && (!rect || rect->right <= rect->left || rect->bottom <= rect->top))
        {
            fail("effEditGetRect answers yes without a rectangle");
        }
        break;
    }
    case effGetChunk:
    {
        void* chunk = nullptr;
        module.dispatch(opcode, index, value, &chunk, opt);
        break;
    }
    case effSetChunk:
        // The size a host passes is that of its buffer.
        module.dispatch(opcode, index, static_cast<VstIntPtr>(structure.size()), structure.data(), opt);
        break;
    case effProcessEvents:
    {
        VstMidiEvent events[2] = {};
        for (VstMidiEvent& event : events)
        {
            event.type = kVstMidiType;
            event.byteSize = sizeof event;
            event.midiData[0] = static_cast<char>(0x90);
            event.midiData[1] = 60;
            event.midiData[2] = 100;
        }
        VstEvents list = {};
        list.numEvents = static_cast<VstInt32>(static_cast<unsigned>(value) % 3);
        list.events[0] = reinterpret_cast<VstEvent*>(&events[0]);
        list.events[1] = reinterpret_cast<VstEvent*>(&events[1]);
        module.dispatch(opcode, index, value, &list, opt);
        break;
    }
    case effSetSpeakerArrangement:
    case effGetSpeakerArrangement:
    {
        // Both value and ptr point to an arrangement (or to a pointer to one).
        std::vector<char> other(structureSize, 0);
        module.dispatch(opcode, index, reinterpret_cast<VstIntPtr>(other.data()), structure.data(), opt);
        break;
    }
    default:
        module.dispatch(opcode, index, value, structure.data(), opt);
        break;
    }
}
