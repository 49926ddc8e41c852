#include "FuzzWriter.h"

#include <cstring>

FuzzWriter& FuzzWriter::little(uint32_t value, int count)
{
    for (int i = 0; i < count; ++i)
    {
        data.push_back(static_cast<uint8_t>(value >> (8 * i)));
    }
    return *this;
}

FuzzWriter& FuzzWriter::u8(uint8_t value)
{
    return little(value, 1);
}

FuzzWriter& FuzzWriter::u16(uint16_t value)
{
    return little(value, 2);
}

FuzzWriter& FuzzWriter::i16(int16_t value)
{
    return little(static_cast<uint16_t>(value), 2);
}

FuzzWriter& FuzzWriter::i32(int32_t value)
{
    return little(static_cast<uint32_t>(value), 4);
}

FuzzWriter& FuzzWriter::f32(float value)
{
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return little(bits, 4);
}

FuzzWriter& FuzzWriter::text(const std::string& value)
{
    const size_t length = value.size() < 255 ? value.size() : 255;
    u8(static_cast<uint8_t>(length));
    data.insert(data.end(), value.begin(), value.begin() + static_cast<long>(length));
    return *this;
}
