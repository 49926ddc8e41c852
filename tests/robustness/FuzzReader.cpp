#include "FuzzReader.h"

#include <cstring>

uint32_t FuzzReader::bytes(int count)
{
    uint32_t value = 0;
    for (int i = 0; i < count; ++i)
    {
        const uint32_t byte = position < size ? data[position] : 0u;
        ++position;
        value |= byte << (8 * i);
    }
    return value;
}

uint8_t FuzzReader::u8()
{
    return static_cast<uint8_t>(bytes(1));
}

uint16_t FuzzReader::u16()
{
    return static_cast<uint16_t>(bytes(2));
}

int16_t FuzzReader::i16()
{
    return static_cast<int16_t>(u16());
}

int32_t FuzzReader::i32()
{
    return static_cast<int32_t>(bytes(4));
}

float FuzzReader::f32()
{
    const uint32_t bits = bytes(4);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

std::string FuzzReader::text()
{
    const size_t length = u8();
    std::string result;
    for (size_t i = 0; i < length && position < size; ++i)
    {
        result += static_cast<char>(data[position++]);
    }
    return result;
}
