#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Writes FuzzCommand inputs (the seed corpus) in the layout FuzzReader reads.
class FuzzWriter
{
public:
    FuzzWriter& u8(uint8_t value);
    FuzzWriter& u16(uint16_t value);
    FuzzWriter& i16(int16_t value);
    FuzzWriter& i32(int32_t value);
    FuzzWriter& f32(float value);
    FuzzWriter& text(const std::string& value);

    const std::vector<uint8_t>& bytes() const { return data; }

private:
    FuzzWriter& little(uint32_t value, int count);

    std::vector<uint8_t> data;
};
