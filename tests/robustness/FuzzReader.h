#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Reads the fields of FuzzCommand inputs from the front of a byte string;
// past its end every field reads as zero and every text as empty.
class FuzzReader
{
public:
    FuzzReader(const uint8_t* data, size_t size) : data(data), size(size), position(0) {}

    bool atEnd() const { return position >= size; }
    uint8_t u8();
    uint16_t u16();
    int16_t i16();
    int32_t i32();
    float f32();
    // u8 length, then that many bytes.
    std::string text();

private:
    uint32_t bytes(int count);

    const uint8_t* data;
    size_t size;
    size_t position;
};
