#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

// Reads the fields of FuzzCommand inputs from the front of a byte string,
// little-endian; past its end every field reads as zero and every text as
// empty.
class FuzzReader
{
public:
    FuzzReader(const uint8_t* data, size_t size) : data(data), size(size), position(0) {}

    bool atEnd() const { return position >= size; }
    uint8_t u8() { return static_cast<uint8_t>(bytes(1)); }
    uint16_t u16() { return static_cast<uint16_t>(bytes(2)); }
    int16_t i16() { return static_cast<int16_t>(bytes(2)); }
    int32_t i32() { return static_cast<int32_t>(bytes(4)); }
    float f32()
    {
        const uint32_t bits = bytes(4);
        float value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }
    // u8 length, then that many bytes.
    std::string text()
    {
        const size_t length = u8();
        std::string result;
        for (size_t i = 0; i < length && position < size; ++i)
            result += static_cast<char>(data[position++]);
        return result;
    }

private:
    uint32_t bytes(int count)
    {
        uint32_t value = 0;
        for (int i = 0; i < count; ++i, ++position)
            value |= uint32_t(position < size ? data[position] : 0u) << (8 * i);
        return value;
    }

    const uint8_t* data;
    size_t size;
    size_t position;
};
