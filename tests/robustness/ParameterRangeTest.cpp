// Hosts should send parameter values in 0..1 but some do not (bad automation
// data, old projects, scripts). Such a value is stored as given, so the host
// reads back what it wrote, and the audio treats it as the nearest end of the
// range: nothing in the signal path may overflow, divide by it or convert it
// to an integer out of range. (Before, an "In gain" of 20 overflowed to an
// infinite gain and NaN output, and a "NumBits" or "Lookahd" of 1e30 was
// converted from float to an integer it does not fit.)
#include "AuditedPlugin.h"
#include "LoudMaterial.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

namespace
{
constexpr int parameters = 13;
constexpr int blockSize = 512;
constexpr int blocks = 64;

// Two seconds of loud material through a fresh instance of program 0 with
// one parameter set to value; the whole output.
std::vector<float> render(int index, float value)
{
    AuditedPlugin plugin(PALISORNE_MODULE_PATH);
    plugin.module().setParameter(index, value);
    const float readBack = plugin.module().getParameter(index);
    EXPECT_EQ(std::memcmp(&readBack, &value, sizeof value), 0) << "parameter " << index << " stored " << readBack;
    LoudMaterial material(44100.0, 1, 0.25);
    std::vector<float> output;
    for (int block = 0; block < blocks; ++block)
    {
        plugin.process(material, blockSize, 2.0f);
        output.insert(output.end(), plugin.outputLeft(), plugin.outputLeft() + blockSize);
        output.insert(output.end(), plugin.outputRight(), plugin.outputRight() + blockSize);
    }
    EXPECT_TRUE(plugin.audit().clean()) << "parameter " << index << " at " << value << ": "
                                        << plugin.audit().firstViolation();
    return output;
}
}

// The two renders differ only in the limiter's anti-denormal noise
// (+-1e-8, from a generator shared by all instances) and, with "NumBits" on,
// in the dither drawn from another shared generator: at most two steps of
// 24 bits (2.4e-7) without noise shaping, which program 0 has off.
TEST(ParameterRange, ValuesOutsideZeroToOneAreStoredAsGivenAndActAsTheNearestEnd)
{
    const float outside[] = {-1e30f, -3.0f, 1.5f, 20.0f, 1e30f, 3e38f};
    for (int index = 0; index < parameters; ++index)
    {
        for (const float value : outside)
        {
            SCOPED_TRACE("parameter " + std::to_string(index) + " at " + std::to_string(value));
            const std::vector<float> outOfRange = render(index, value);
            const std::vector<float> nearestEnd = render(index, value < 0.0f ? 0.0f : 1.0f);
            float worst = 0.0f;
            for (std::size_t n = 0; n < outOfRange.size(); ++n)
            {
                worst = std::max(worst, std::fabs(outOfRange[n] - nearestEnd[n]));
            }
            EXPECT_LT(worst, 1e-6f);
        }
    }
}
