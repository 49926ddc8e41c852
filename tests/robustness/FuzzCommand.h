#pragma once

#include <cstdint>

// The fuzzing host reads its input as a sequence of commands, each a
// command byte (taken modulo count) followed by its fields, little-endian:
//   dispatch       i16 opcode, i32 index, i32 value, f32 opt, u8 buffer
//                  size choice; opcodes that take a string from the host
//                  (effSetProgramName, effCanDo, effString2Parameter) are
//                  followed by a text (u8 length, then the bytes)
//   setParameter   i8 index, f32 value
//   getParameter   i8 index
//   process        u16 frames (modulo 8193), u8 signal (FuzzSignal),
//                  u16 amplitude (0..16 full scale), u16 noise seed,
//                  u8 in-place; a raw signal is followed by u8 count
//                  and count f32 samples, repeated over the block
//   setSampleRate  f32 rate
//   setProgram     i32 program
//   mains          u8 (FuzzMains)
//   setBlockSize   i32 frames
// Fields past the end of the input read as zero.
enum class FuzzCommand : uint8_t
{
    dispatch,
    setParameter,
    getParameter,
    process,
    setSampleRate,
    setProgram,
    mains,
    setBlockSize,
    count
};

// A raw signal repeats its up to 32 samples over the block: steady levels,
// square and sine waves up to a period of 32, inter-sample peaks.
enum class FuzzSignal : uint8_t
{
    raw,
    noise,
    garbageMix,
    count
};

enum class FuzzMains : uint8_t
{
    suspend,
    resume,
    open,
    startProcess,
    stopProcess,
    count
};
