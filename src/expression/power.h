#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

namespace ExprEval {

// pow(base, exponent), with x*x in place of the call for the square when that
// is provably what the call returns. glibc's pow is within 0.54 ulp of the
// exact value, so when the exact square lies within 0.4 ulp of the rounded
// product (both in one binade, away from overflow and subnormals, where pow
// sets no errno) no other double is close enough for pow to return it.
inline double Power(double base, double exponent)
{
    if (exponent == 2.0) {
        const double square = base * base;
        if (square >= 0x1p-900 && square <= 0x1p900) {
            // Dekker's exact product error; the library is built without fused multiply-adds.
            const double split = 134217729.0 * base;
            const double high = split - (split - base);
            const double low = base - high;
            const double error = ((high * high - square) + 2.0 * high * low) + low * low;
            const uint64_t bits = std::bit_cast<uint64_t>(square);
            const double ulp = std::bit_cast<double>(bits & 0x7ff0000000000000u) * 0x1p-52;
            const bool powerOfTwo = (bits & 0x000fffffffffffffu) == 0;
            if (!powerOfTwo && std::fabs(error) <= 0.4 * ulp)
                return square;
        }
        // Compilers rewrite pow(x, 2.0) as x * x, which is just what must not
        // happen here: hide the constant.
        volatile double two = exponent;
        return std::pow(base, two);
    }
    return std::pow(base, exponent);
}

} // namespace ExprEval
