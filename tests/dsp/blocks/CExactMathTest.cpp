#include "blocks/CExactMath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>

namespace
{
using Function = std::function<float(float)>;
using Reference = std::function<long double(long double)>;

// How the checks over many arguments went.
struct Tally
{
    long checked = 0;
    long ambiguous = 0;
    long wrong = 0;
};

// Compares f(x) with the long double reference rounded to float. Where the
// reference lies so close to the midpoint between two floats that its own
// error (a few units of its 64-bit mantissa) could decide the rounding, the
// argument is counted as ambiguous instead.
void check(const Function& f, const Reference& reference, float x, Tally& tally)
{
    const long double exact = reference(static_cast<long double>(x));
    const float rounded = static_cast<float>(exact);
    const float neighbour = std::nextafter(rounded, exact > rounded ? std::numeric_limits<float>::infinity()
                                                                    : -std::numeric_limits<float>::infinity());
    const long double midpoint = (static_cast<long double>(rounded) + neighbour) / 2;
    ++tally.checked;
    if (std::fabs(exact - midpoint) <= std::fabs(exact) * 0x1p-58L)
    {
        ++tally.ambiguous;
        return;
    }
    const float got = f(x);
    if (std::memcmp(&got, &rounded, sizeof got) != 0 && tally.wrong++ < 5)
    {
        ADD_FAILURE() << "argument " << std::hexfloat << x << ": " << got << ", correctly rounded " << rounded;
    }
}

// Every stride-th float from low to high (same sign), in bit order.
void sweep(const Function& f, const Reference& reference, float low, float high, std::uint32_t stride, Tally& tally)
{
    std::uint32_t first;
    std::uint32_t last;
    const float magnitudeLow = std::fabs(low) < std::fabs(high) ? low : high;
    const float magnitudeHigh = std::fabs(low) < std::fabs(high) ? high : low;
    std::memcpy(&first, &magnitudeLow, sizeof first);
    std::memcpy(&last, &magnitudeHigh, sizeof last);
    for (std::uint32_t bits = first; bits <= last && bits >= first; bits += stride)
    {
        float x;
        std::memcpy(&x, &bits, sizeof x);
        check(f, reference, x, tally);
    }
}

const Reference exp10Reference = [](long double x) { return std::pow(10.0L, x); };
}

TEST(CExactMathTest, EveryFunctionIsCorrectlyRoundedOverTheRangesTheSignalPathUses)
{
    struct Range
    {
        const char* name;
        Function f;
        Reference reference;
        float low;
        float high;
    };
    const Range ranges[] = {
        {"exp-", CExactMath::exp, [](long double x) { return std::exp(x); }, -0.0f, -103.0f},
        {"exp+", CExactMath::exp, [](long double x) { return std::exp(x); }, 0.0f, 88.0f},
        {"exp10-", CExactMath::exp10, exp10Reference, -0.0f, -44.0f},
        {"exp10+", CExactMath::exp10, exp10Reference, 0.0f, 38.0f},
        {"log10", CExactMath::log10, [](long double x) { return std::log10(x); }, 1e-30f, 1e30f},
        {"sin", CExactMath::sin, [](long double x) { return std::sin(x); }, 0.0f, 100.0f},
        {"cos", CExactMath::cos, [](long double x) { return std::cos(x); }, 0.0f, 100.0f},
        {"atan", CExactMath::atan, [](long double x) { return std::atan(x); }, 0.0f, 1e8f},
        // The masking model's curves: frequency in kHz to the powers it uses.
        {"pow -0.8", [](float x) { return CExactMath::pow(x, -0.8f); },
         [](long double x) { return std::pow(x, static_cast<long double>(-0.8f)); }, 1e-3f, 1e3f},
        {"pow 4", [](float x) { return CExactMath::pow(x, 4.0f); }, [](long double x) { return std::pow(x, 4.0L); },
         1e-3f, 1e3f},
    };
    for (const Range& range : ranges)
    {
        SCOPED_TRACE(range.name);
        Tally tally;
        sweep(range.f, range.reference, range.low, range.high, 2039, tally);
        EXPECT_EQ(tally.wrong, 0);
        // Ambiguous arguments are as rare as about 2^-34 of them.
        EXPECT_LE(tally.ambiguous, 1 + tally.checked / 1000000) << tally.checked << " checked";
    }
}
