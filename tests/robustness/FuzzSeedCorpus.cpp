// Writes the fuzzing host's seed corpus: one file per kind of host session,
// so that fuzzing starts from inputs that already reach every area (loud
// audio through every program, rate changes, parameters at and beyond
// their ranges, every opcode, texts, garbage samples).
//   fuzz_seed_corpus DIRECTORY
#include "FuzzCommand.h"
#include "FuzzWriter.h"
#include "aeffectx.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <string>

namespace
{
FuzzWriter& command(FuzzWriter& out, FuzzCommand which)
{
    return out.u8(static_cast<uint8_t>(which));
}

FuzzWriter& process(FuzzWriter& out, int frames, FuzzSignal signal, float fullScales, int frequency,
                    bool inPlace = false)
{
    command(out, FuzzCommand::process)
        .u16(static_cast<uint16_t>(frames))
        .u8(static_cast<uint8_t>(signal))
        .u16(static_cast<uint16_t>(std::lround(fullScales / 16.0f * 65535.0f)))
        .u16(static_cast<uint16_t>(frequency))
        .u8(inPlace ? 1 : 0);
    return out;
}

FuzzWriter& dispatch(FuzzWriter& out, int opcode, int index, int value, float opt = 0.0f, int sizeChoice = 0)
{
    command(out, FuzzCommand::dispatch).i16(static_cast<int16_t>(opcode)).i32(index).i32(value).f32(opt).u8(
        static_cast<uint8_t>(sizeChoice));
    return out;
}

bool save(const std::string& directory, const std::string& name, const FuzzWriter& seed)
{
    std::ofstream file(directory + "/" + name, std::ios::binary);
    file.write(reinterpret_cast<const char*>(seed.bytes().data()), static_cast<std::streamsize>(seed.bytes().size()));
    return static_cast<bool>(file);
}
}

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
        return 2;
    }
    const std::string directory = argv[1];
    bool ok = true;

    FuzzWriter programs;
    for (int program = 0; program < 17; ++program)
    {
        command(programs, FuzzCommand::setProgram).i32(program);
        process(programs, 2048, FuzzSignal::noise, 4.0f, program + 1);
    }
    ok &= save(directory, "every-program-loud", programs);

    FuzzWriter rates;
    for (float rate : {44100.0f, 48000.0f, 96000.0f, 192000.0f, 22050.0f, 8000.0f, 384000.0f, -1.0f})
    {
        command(rates, FuzzCommand::setSampleRate).f32(rate);
        process(rates, 3000, FuzzSignal::sine, 3.0f, 997);
    }
    ok &= save(directory, "sample-rates", rates);

    FuzzWriter parameters;
    for (int index : {-1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 127})
    {
        for (float value : {0.0f, 1.0f, 0.5f, -1.0f, 2.0f, 1e30f, std::numeric_limits<float>::quiet_NaN()})
        {
            command(parameters, FuzzCommand::setParameter).u8(static_cast<uint8_t>(index)).f32(value);
            process(parameters, 700, FuzzSignal::nyquistSquare, 8.0f, 0);
        }
    }
    ok &= save(directory, "parameters-in-and-out-of-range", parameters);

    FuzzWriter texts;
    const int textOpcodes[] = {effGetParamLabel, effGetParamDisplay, effGetParamName, effGetProgramName,
                               effGetProgramNameIndexed, effGetEffectName, effGetVendorString, effGetProductString};
    for (int opcode : textOpcodes)
    {
        for (int index : {-1, 0, 12, 13, 63, 64})
        {
            for (int size = 0; size < 4; ++size)
            {
                dispatch(texts, opcode, index, 0, 0.0f, size);
            }
        }
    }
    dispatch(texts, effSetProgramName, 0, 0).text(std::string(200, 'x'));
    dispatch(texts, effGetProgramName, 0, 0, 0.0f, 0);
    dispatch(texts, effCanDo, 0, 0).text("receiveVstTimeInfo");
    ok &= save(directory, "texts", texts);

    FuzzWriter garbage;
    process(garbage, 4096, FuzzSignal::garbageMix, 1.0f, 0);
    command(garbage, FuzzCommand::process).u16(1024).u8(static_cast<uint8_t>(FuzzSignal::raw)).u16(0).u16(0).u8(0)
        .u8(3).f32(std::numeric_limits<float>::quiet_NaN()).f32(1e-40f).f32(999.0f);
    process(garbage, 8192, FuzzSignal::dc, 16.0f, 0, true);
    process(garbage, 8192, FuzzSignal::quarterRateSine, 1.0f, 0);
    ok &= save(directory, "garbage-and-extremes", garbage);

    FuzzWriter lifecycle;
    for (int round = 0; round < 6; ++round)
    {
        command(lifecycle, FuzzCommand::mains).u8(static_cast<uint8_t>(round % 5));
        command(lifecycle, FuzzCommand::setBlockSize).i32(round * 1000 - 1);
        process(lifecycle, round * 1500, FuzzSignal::noise, 2.0f, round);
        process(lifecycle, 0, FuzzSignal::sine, 1.0f, 440);
        process(lifecycle, 1, FuzzSignal::sine, 1.0f, 440);
    }
    ok &= save(directory, "suspend-resume-block-sizes", lifecycle);

    FuzzWriter opcodes;
    for (int opcode = 0; opcode <= effGetNumMidiOutputChannels + 2; ++opcode)
    {
        dispatch(opcodes, opcode, 0, 1, 44100.0f);
    }
    dispatch(opcodes, effEditGetRect, 0, 0);
    dispatch(opcodes, effEditIdle, 0, 0);
    dispatch(opcodes, effEditKeyDown, 65, 1, 2.0f);
    process(opcodes, 512, FuzzSignal::sine, 2.0f, 1000);
    ok &= save(directory, "every-opcode", opcodes);

    return ok ? 0 : 1;
}
