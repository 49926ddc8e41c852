#pragma once

// The single-precision functions every coefficient is computed with,
// correctly rounded, so that the limiter's output has the same bits with any
// C library: the C runtimes round some float exp, pow, sin, cos and atan
// results differently (glibc against Windows' msvcrt, and between versions).
//
// Each is evaluated in double precision with nothing but + - * / and
// conversions (exact reduction, a polynomial whose truncation error lies far
// below a double's rounding), then rounded once to float. The double result
// is within a few double roundings of the true value, so the float is the
// correctly rounded one unless the true value lies within about 1e-15 of the
// midpoint between two floats; the tests check the arguments the signal path
// uses against a long double reference.
//
// Arguments are finite; results beyond float's range are +-infinity or 0.
class CExactMath
{
public:
    static float exp(float x);
    // 10^x: gains from decibels.
    static float exp10(float x);
    // base^exponent for base > 0.
    static float pow(float base, float exponent);
    // For x > 0.
    static float log10(float x);
    // For |x| < 1e5 (reduction by pi/2 in three parts).
    static float sin(float x);
    static float cos(float x);
    static float atan(float x);
};
