#include "WordLengthReducer.h"

#include "AudioFileFormat.h"

#include <algorithm>
#include <cmath>

WordLengthReducer::Dither WordLengthReducer::choose(int outputFormat, int pluginBits, bool noDither)
{
    const int bits = AudioFileFormat::integerBits(outputFormat);
    if (bits == 0 || bits > 24)
    {
        return Dither::notNeeded;
    }
    if (pluginBits == bits)
    {
        return Dither::byPlugin;
    }
    return noDither ? Dither::turnedOff : Dither::triangular;
}

std::string WordLengthReducer::describe(Dither dither, int outputFormat)
{
    const std::string bits = std::to_string(AudioFileFormat::integerBits(outputFormat)) + " bits";
    switch (dither)
    {
    case Dither::triangular:
        return "triangular at " + bits;
    case Dither::byPlugin:
        return "none here: the plug-in reduced to " + bits + " itself";
    case Dither::turnedOff:
        return "none: rounded to " + bits + " (--no-dither)";
    case Dither::notNeeded:
        break;
    }
    return "none needed";
}

WordLengthReducer::WordLengthReducer(int bits, bool dither)
    : scale(std::ldexp(1.0, bits - 1))
    , largest((int32_t{1} << (bits - 1)) - 1)
    , shift(32 - bits)
    , dither(dither)
    , state(0x9E3779B97F4A7C15ull)
{
}

void WordLengthReducer::reduce(const float* samples, int32_t* integers, size_t count)
{
    for (size_t i = 0; i < count; ++i)
    {
        // The sum of two independent uniform values has a triangular density
        // over -1..1 LSB.
        const double noise = dither ? nextUniform() + nextUniform() - 1.0 : 0.0;
        const double sample = std::isfinite(samples[i]) ? static_cast<double>(samples[i]) : 0.0;
        const double level = std::nearbyint(sample * scale + noise);
        const double clipped = std::clamp(level, -static_cast<double>(largest) - 1.0, static_cast<double>(largest));
        integers[i] = static_cast<int32_t>(static_cast<uint32_t>(static_cast<int32_t>(clipped)) << shift);
    }
}

// xorshift64*: plenty for dither, and the same on every platform.
double WordLengthReducer::nextUniform()
{
    state ^= state >> 12;
    state ^= state << 25;
    state ^= state >> 27;
    return static_cast<double>((state * 0x2545F4914F6CDD1Dull) >> 11) * 0x1.0p-53;
}
