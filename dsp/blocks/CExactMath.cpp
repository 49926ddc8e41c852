#include "CExactMath.h"

#include <cstdint>
#include <cstring>
#include <limits>

namespace
{
// ln 2 and pi/2 in parts whose products with the integers used here are
// exact, so that the reduced argument carries no rounding of the constant.
constexpr double ln2High = 6.93147180369123816490e-01;
constexpr double ln2Low = 1.90821492927058770002e-10;
constexpr double invLn2 = 1.44269504088896338700e+00;
constexpr double halfPi1 = 1.57079632673412561417e+00;
constexpr double halfPi2 = 6.07710050630396597660e-11;
constexpr double halfPi3 = 2.02226624871116645580e-21;
constexpr double twoOverPi = 6.36619772367581382433e-01;
constexpr double quarterPi = 7.85398163397448278999e-01;
constexpr double halfPi = 1.57079632679489655800e+00;
// ln 10 = ln10High + ln10Low, ln10High with 27 significant bits, so a float
// times ln10High is exact.
constexpr double ln10High = 2.30258509516716003418;
constexpr double ln10Low = -2.17311435016169620e-09;
constexpr double invLn10 = 4.34294481903251827651e-01;

// 1/n! and 1/(2n+1), folded by the compiler (correctly rounded there).
constexpr double inverseFactorial(int n)
{
    double f = 1.0;
    for (int i = 2; i <= n; ++i)
    {
        f *= i;
    }
    return 1.0 / f;
}

// Rounds to the nearest integer, halves away from zero (conversion truncates).
int nearestInt(double x)
{
    return static_cast<int>(x < 0.0 ? x - 0.5 : x + 0.5);
}

// 2^k for -1022 <= k <= 1023, from its bits.
double powerOfTwo(int k)
{
    const std::uint64_t bits = static_cast<std::uint64_t>(k + 1023) << 52;
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// e^(high + low) for |high| <= 200, |low| tiny beside it.
double expSplit(double high, double low)
{
    const int k = nearestInt(high * invLn2);
    const double r = ((high - k * ln2High) - k * ln2Low) + low;
    // |r| <= 0.35: the degree-17 Taylor term is below 1e-25.
    double sum = inverseFactorial(17);
    for (int n = 16; n >= 0; --n)
    {
        sum = sum * r + inverseFactorial(n);
    }
    // Two steps so that 2^k stays a normal double for every k used.
    const int half = k / 2;
    return sum * powerOfTwo(half) * powerOfTwo(k - half);
}

double expDouble(double x)
{
    return expSplit(x, 0.0);
}

// ln x for finite x > 0.
double logDouble(double x)
{
    std::uint64_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    int exponent = 0;
    if ((bits >> 52) == 0)
    {
        // Subnormal: scale into the normal range first.
        x *= powerOfTwo(64);
        std::memcpy(&bits, &x, sizeof bits);
        exponent = -64;
    }
    exponent += static_cast<int>(bits >> 52) - 1023;
    // The mantissa m in [1, 2), taken to [sqrt(1/2), sqrt(2)).
    bits = (bits & ((std::uint64_t(1) << 52) - 1)) | (std::uint64_t(1023) << 52);
    double m;
    std::memcpy(&m, &bits, sizeof m);
    if (m > 1.41421356237309504880)
    {
        m *= 0.5;
        ++exponent;
    }
    // ln m = 2 atanh s, s = (m - 1)/(m + 1), |s| <= 0.172: the series
    // 2 (s + s^3/3 + s^5/5 + ...) to s^47 leaves less than 1e-37.
    const double s = (m - 1.0) / (m + 1.0);
    const double s2 = s * s;
    double sum = 1.0 / 47.0;
    for (int n = 45; n >= 1; n -= 2)
    {
        sum = sum * s2 + 1.0 / n;
    }
    return (exponent * ln2Low + 2.0 * s * sum) + exponent * ln2High;
}

// sin r and cos r for |r| <= pi/4 + a little: Taylor series to r^25 and
// r^24, whose next terms are below 1e-28.
double sinKernel(double r)
{
    const double r2 = r * r;
    double sum = -inverseFactorial(25);
    for (int n = 23; n >= 1; n -= 2)
    {
        sum = sum * r2 + ((n / 2) % 2 == 0 ? inverseFactorial(n) : -inverseFactorial(n));
    }
    return sum * r;
}

double cosKernel(double r)
{
    const double r2 = r * r;
    double sum = inverseFactorial(24);
    for (int n = 22; n >= 0; n -= 2)
    {
        sum = sum * r2 + ((n / 2) % 2 == 0 ? inverseFactorial(n) : -inverseFactorial(n));
    }
    return sum;
}

// x = k pi/2 + r, |r| <= pi/4; returns sin x (quadrantShift 0) or cos x (1).
double sinOrCos(double x, int quadrantShift)
{
    const int k = nearestInt(x * twoOverPi);
    const double r = ((x - k * halfPi1) - k * halfPi2) - k * halfPi3;
    switch ((k + quadrantShift) & 3)
    {
    case 0:
        return sinKernel(r);
    case 1:
        return cosKernel(r);
    case 2:
        return -sinKernel(r);
    default:
        return -cosKernel(r);
    }
}

double atanDouble(double x)
{
    if (x == 0.0)
    {
        return x; // keeps the sign of zero
    }
    const bool negative = x < 0.0;
    double t = negative ? -x : x;
    double offset = 0.0;
    double sign = 1.0;
    if (t > 1.0)
    {
        // atan t = pi/2 - atan(1/t)
        t = 1.0 / t;
        offset = halfPi;
        sign = -1.0;
    }
    double base = 0.0;
    if (t > 0.41421356237309504880)
    {
        // atan t = pi/4 + atan((t - 1)/(t + 1)), the new argument in [-0.42, 0]
        t = (t - 1.0) / (t + 1.0);
        base = quarterPi;
    }
    // atan u = u - u^3/3 + u^5/5 - ... to u^49 for |u| <= 0.4143: the next
    // term is below 1e-20 relative to the sum.
    const double t2 = t * t;
    double sum = 1.0 / 49.0;
    for (int n = 47; n >= 1; n -= 2)
    {
        sum = sum * t2 + ((n / 2) % 2 == 0 ? 1.0 / n : -1.0 / n);
    }
    const double result = offset + sign * (base + t * sum);
    return negative ? -result : result;
}

float toFloat(double x)
{
    return static_cast<float>(x);
}

constexpr float infinity = std::numeric_limits<float>::infinity();

// e^x rounded to float; beyond these bounds it overflows or underflows
// whatever the rounding.
float expRounded(double x)
{
    if (x > 100.0)
    {
        return infinity;
    }
    if (x < -120.0)
    {
        return 0.0f;
    }
    return toFloat(expDouble(x));
}
}

float CExactMath::exp(float x)
{
    return expRounded(x);
}

float CExactMath::exp10(float x)
{
    if (x > 40.0f)
    {
        return infinity;
    }
    if (x < -50.0f)
    {
        return 0.0f;
    }
    // x ln10High is exact: the reduction sees ln 10 to 80 bits.
    return toFloat(expSplit(x * ln10High, x * ln10Low));
}

float CExactMath::pow(float base, float exponent)
{
    if (base == 1.0f || exponent == 0.0f)
    {
        return 1.0f;
    }
    return expRounded(exponent * logDouble(base));
}

float CExactMath::log10(float x)
{
    return toFloat(logDouble(x) * invLn10);
}

float CExactMath::sin(float x)
{
    return toFloat(sinOrCos(x, 0));
}

float CExactMath::cos(float x)
{
    return toFloat(sinOrCos(x, 1));
}

float CExactMath::atan(float x)
{
    return toFloat(atanDouble(x));
}
