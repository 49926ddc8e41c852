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

void expectAllCorrectlyRounded(const Tally& tally)
{
    EXPECT_EQ(tally.wrong, 0);
    // Ambiguous arguments are as rare as about 2^-34 of them.
    EXPECT_LE(tally.ambiguous, 1 + tally.checked / 1000000) << tally.checked << " checked";
}

const float sampleRates[] = {22050.0f, 32000.0f, 44100.0f, 48000.0f, 88200.0f, 96000.0f, 176400.0f, 192000.0f};

const Function exactExp10 = CExactMath::exp10;
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
        {"exp10-", exactExp10, exp10Reference, -0.0f, -44.0f},
        {"exp10+", exactExp10, exp10Reference, 0.0f, 38.0f},
        {"log10", CExactMath::log10, [](long double x) { return std::log10(x); }, 1e-30f, 1e30f},
        {"sin", CExactMath::sin, [](long double x) { return std::sin(x); }, 0.0f, 100.0f},
        {"sin-", CExactMath::sin, [](long double x) { return std::sin(x); }, -0.0f, -100.0f},
        {"cos", CExactMath::cos, [](long double x) { return std::cos(x); }, 0.0f, 100.0f},
        {"atan", CExactMath::atan, [](long double x) { return std::atan(x); }, 0.0f, 1e8f},
        {"atan-", CExactMath::atan, [](long double x) { return std::atan(x); }, -0.0f, -1e8f},
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
        expectAllCorrectlyRounded(tally);
    }
}

TEST(CExactMathTest, EveryTableAndSettingArgumentIsCorrectlyRounded)
{
    // Transform tables: cos and sin of j pi/4 / half for every j up to half,
    // and the analysis and synthesis windows: sin(pi t / n), sin(pi/2 v^2)
    // and cos(m 2 pi t / n) at t = j + 1/2, for every power-of-two size up
    // to 2^14.
    Tally tables;
    const Reference sinReference = [](long double x) { return std::sin(x); };
    const Reference cosReference = [](long double x) { return std::cos(x); };
    const float pi = 3.1415927f;
    for (int n = 2; n <= 1 << 14; n *= 2)
    {
        const float delta = CExactMath::atan(1.0f) / static_cast<float>(n);
        const float r = 1.0f / static_cast<float>(n);
        for (int j = 0; j <= n; ++j)
        {
            check(CExactMath::cos, cosReference, delta * static_cast<float>(j), tables);
            check(CExactMath::sin, sinReference, delta * static_cast<float>(j), tables);
            const float t = static_cast<float>(j) + 0.5f;
            const float v = CExactMath::sin(pi * t * r);
            check(CExactMath::sin, sinReference, pi * t * r, tables);
            check(CExactMath::sin, sinReference, pi / 2.0f * (v * v), tables);
            for (float m : {2.0f, 4.0f, 6.0f})
            {
                check(CExactMath::cos, cosReference, m * pi * t * r, tables);
            }
        }
    }
    EXPECT_EQ(CExactMath::atan(1.0f), 0.785398185f);
    expectAllCorrectlyRounded(tables);

    // Gains on a 0.01 dB grid from -144 to +40 dB, as amplitude and as a
    // shelf's square-root gain.
    Tally gains;
    for (int step = -14400; step <= 4000; ++step)
    {
        const float dB = static_cast<float>(step) * 0.01f;
        check(exactExp10, exp10Reference, dB * 0.05f, gains);
        check(exactExp10, exp10Reference, dB / 40.0f, gains);
    }
    expectAllCorrectlyRounded(gains);

    // One-pole coefficients e^(-1 / (fs t)) for times on a 0.1 ms grid up to
    // 5 s at every usual sample rate.
    Tally poles;
    for (float fs : sampleRates)
    {
        for (int tenths = 1; tenths <= 50000; ++tenths)
        {
            const float seconds = static_cast<float>(tenths) * 1e-4f;
            check(CExactMath::exp, [](long double x) { return std::exp(x); }, -1.0f / (fs * seconds), poles);
        }
    }
    expectAllCorrectlyRounded(poles);
}

TEST(CExactMathTest, ExactValuesAndTheEndsOfTheRange)
{
    // Results a float holds exactly come out exactly (zero arguments are in
    // the sweeps).
    EXPECT_EQ(CExactMath::exp10(1.0f), 10.0f);
    EXPECT_EQ(CExactMath::exp10(-3.0f), 0.001f);
    EXPECT_EQ(CExactMath::pow(2.0f, 10.0f), 1024.0f);
    EXPECT_EQ(CExactMath::pow(9.0f, 0.5f), 3.0f);
    EXPECT_EQ(CExactMath::log10(1.0f), 0.0f);
    EXPECT_EQ(CExactMath::log10(1e6f), 6.0f);
    // Odd functions stay odd.
    EXPECT_EQ(CExactMath::sin(-0.5f), -CExactMath::sin(0.5f));
    EXPECT_EQ(CExactMath::atan(-3.0f), -CExactMath::atan(3.0f));

    // Past float's range: infinity or zero, never a wrapped exponent.
    const float infinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ(CExactMath::exp(89.0f), infinity);
    EXPECT_EQ(CExactMath::exp(1000.0f), infinity);
    EXPECT_EQ(CExactMath::exp(-104.0f), 0.0f);
    EXPECT_EQ(CExactMath::exp(-1000.0f), 0.0f);
    EXPECT_EQ(CExactMath::exp10(39.0f), infinity);
    EXPECT_EQ(CExactMath::exp10(-46.0f), 0.0f);
    EXPECT_EQ(CExactMath::pow(10.0f, 1000.0f), infinity);
    EXPECT_EQ(CExactMath::pow(10.0f, -1000.0f), 0.0f);
    // The smallest subnormal: about 1.4e-45.
    EXPECT_NEAR(CExactMath::log10(std::numeric_limits<float>::denorm_min()), -44.8534f, 1e-4f);
    EXPECT_NEAR(CExactMath::log10(std::numeric_limits<float>::max()), 38.5318394f, 4e-6f);
}
