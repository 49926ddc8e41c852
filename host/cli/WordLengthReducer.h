#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Turns float samples into integers of a shorter word length, with
// triangular (TPDF) dither of two least significant bits peak to peak or by
// plain rounding. The dither's noise source starts from the same seed in
// every render, so a render repeated with the same settings gives the same
// bits.
class WordLengthReducer
{
public:
    // Whether a render dithers when it writes `outputFormat`.
    enum class Dither
    {
        notNeeded,   // float or encoded output, or 32-bit integers
        triangular,  // added here
        byPlugin,    // the plug-in already reduced to the output's word length
        turnedOff,   // --no-dither
    };
    // `pluginBits` is the word length the plug-in reduces to itself, 0 when
    // it does not.
    static Dither choose(int outputFormat, int pluginBits, bool noDither);
    // For the report: "triangular at 16 bits" and the like.
    static std::string describe(Dither dither, int outputFormat);

    // `bits` from 2 to 24.
    WordLengthReducer(int bits, bool dither);

    // Integers left-justified in 32 bits (libsndfile's int samples), clipped
    // to the word length's range.
    void reduce(const float* samples, int32_t* integers, size_t count);

private:
    double nextUniform();

    double scale;
    int32_t largest;
    int shift;
    bool dither;
    uint64_t state;
};
