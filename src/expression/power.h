#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <math.h>

namespace ExprEval {

// The function itself, hidden from the optimizer. GCC takes sin, cos, tan,
// tanh and atan never to set errno, and rewrites pow(x, 2.0) as x * x; a call
// it can't identify keeps both the errno tests and the library's results.
inline auto Opaque(double (*function)(double))
{
    asm("" : "+r"(function));
    return function;
}

inline auto Opaque(double (*function)(double, double))
{
    asm("" : "+r"(function));
    return function;
}

namespace PowerDetail {

// The exact rounding error of a * b = product (Dekker), for operands far from
// overflow and underflow. Valid because the library is built without fused
// multiply-adds.
inline double ProductError(double a, double b, double product)
{
    constexpr double Splitter = 134217729.0; // 2^27 + 1
    const double ca = Splitter * a;
    const double aHigh = ca - (ca - a);
    const double aLow = a - aHigh;
    const double cb = Splitter * b;
    const double bHigh = cb - (cb - b);
    const double bLow = b - bHigh;
    return ((aHigh * bHigh - product) + aHigh * bLow + aLow * bHigh) + aLow * bLow;
}

// True when `rounded`, off the exact power by `error`, is what pow returns.
// glibc's pow is within 0.54 ulp of the exact value (its own bound; measured
// on squares, it misrounds only beyond 0.49 ulp). With the exact value within
// 0.45 ulp of `rounded` (inside one binade, away from overflow and
// subnormals, where pow sets no errno), every other double is at least 0.55
// ulp away, out of pow's reach.
inline bool IsPowResult(double rounded, double error)
{
    const uint64_t bits = std::bit_cast<uint64_t>(rounded) & 0x7fffffffffffffffu;
    if (bits < 0x07b0000000000000u || bits > 0x7830000000000000u) // 2^-900, 2^900
        return false;
    if ((bits & 0x000fffffffffffffu) == 0) // a power of two: the binade below is finer
        return false;
    const double ulp = std::bit_cast<double>(bits & 0x7ff0000000000000u) * 0x1p-52;
    return std::fabs(error) <= 0.45 * ulp;
}

} // namespace PowerDetail

// pow(base, exponent). Squares, cubes and fourth powers are multiplied out
// when that provably gives what pow returns, since pow costs several times
// as much; otherwise pow is called.
inline double Power(double base, double exponent)
{
    using namespace PowerDetail;
    if (exponent == 2.0) {
        const double square = base * base;
        if (IsPowResult(square, ProductError(base, base, square)))
            return square;
    } else if (exponent == 3.0) {
        const double square = base * base;
        const double squareError = ProductError(base, base, square);
        const double cube = square * base;
        // The exact cube is (square + squareError) * base.
        if (IsPowResult(cube, ProductError(square, base, cube) + squareError * base))
            return cube;
    } else if (exponent == 4.0) {
        const double square = base * base;
        const double squareError = ProductError(base, base, square);
        const double fourth = square * square;
        // The exact power is (square + squareError)^2.
        const double error = ProductError(square, square, fourth) + (2.0 * square * squareError + squareError * squareError);
        if (IsPowResult(fourth, error))
            return fourth;
    }
    return Opaque(::pow)(base, exponent);
}

} // namespace ExprEval
