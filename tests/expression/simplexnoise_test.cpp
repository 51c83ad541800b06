// Simplex noise: values worked out by hand from the corners' hashes and
// gradients, the period of the permutation, and continuity, which a wrong
// choice of corners or a wrong skew would break.

#include "expression/simplexnoise.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr double G2 = 0.21132487;
constexpr double G3 = 0.16666667;

// A corner's share: (radius - distance²)^4 times the gradient, if inside.
double Share(double radius, double distance2, double gradient)
{
    const double t = radius - distance2;
    return t > 0 ? t * t * t * t * gradient : 0.0;
}

} // namespace

TEST(SimplexNoise, OneDimensionAtKnownPoints)
{
    // x = 0.5: corners 0 and 1 with hashes p[0] = 151 (gradient +8) and
    // p[1] = 160 (+1), each weighted (1 - 0.25)^4.
    const double half = 0.395 * std::pow(0.75, 4) * (8 * 0.5 + 1 * -0.5);
    // x = -0.5: corners -1 and 0 with p[255] = 180 (+5) and p[0] = 151 (+8).
    const double minusHalf = 0.395 * std::pow(0.75, 4) * (5 * 0.5 + 8 * -0.5);
    const struct
    {
        float x;
        double expected;
    } cases[] = {{0, 0}, {1, 0}, {7, 0}, {-1, 0}, {-4, 0}, {255, 0}, {0.5f, half}, {-0.5f, minusHalf}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.x);
        EXPECT_NEAR(SimplexNoise1(c.x), c.expected, 1e-6);
    }

    // The lattice repeats every 256 cells.
    for (float x : {0.25f, 0.5f, 3.75f, 100.125f, -20.5f})
        EXPECT_EQ(SimplexNoise1(x), SimplexNoise1(x + 256.0f)) << x;
    EXPECT_NE(SimplexNoise1(0.25f), SimplexNoise1(1.25f));
}

TEST(SimplexNoise, SumsTheCornersOfTheSimplexHoldingThePoint)
{
    {
        // (0.3, 0.1) lies in cell (0, 0), below the diagonal: corners (0, 0),
        // (1, 0), (1, 1) with hashes p[151] = 17, p[152] = 182, p[161] = 248.
        const double x0 = 0.3, y0 = 0.1;
        const double x1 = x0 - 1 + G2, y1 = y0 + G2;
        const double x2 = x0 - 1 + 2 * G2, y2 = y0 - 1 + 2 * G2;
        const double expected = 40 * (Share(0.5, x0 * x0 + y0 * y0, -x0 + 2 * y0)     // 17 & 7 = 1
                                      + Share(0.5, x1 * x1 + y1 * y1, y1 - 2 * x1)    // 182 & 7 = 6
                                      + Share(0.5, x2 * x2 + y2 * y2, x2 + 2 * y2));  // 248 & 7 = 0
        EXPECT_NEAR(SimplexNoise2(0.3f, 0.1f), expected, 1e-6);
        EXPECT_GT(std::fabs(expected), 0.05) << "a point that tests something";
    }
    {
        // (0.1, 0.2, 0.3) lies in cell (0, 0, 0) with x < y < z: corners
        // (0, 0, 0), (0, 0, 1), (0, 1, 1), (1, 1, 1) with hashes p[p[p[0]]] = 36,
        // p[p[p[1]]] = 86, p[p[1 + p[1]]] = 128, p[1 + p[1 + p[1]]] = 195.
        const double x0 = 0.1, y0 = 0.2, z0 = 0.3;
        const double x1 = x0 + G3, y1 = y0 + G3, z1 = z0 - 1 + G3;
        const double x2 = x0 + 2 * G3, y2 = y0 - 1 + 2 * G3, z2 = z0 - 1 + 2 * G3;
        const double x3 = x0 - 0.5, y3 = y0 - 0.5, z3 = z0 - 0.5;
        auto d2 = [](double x, double y, double z) { return x * x + y * y + z * z; };
        const double expected = 32 * (Share(0.6, d2(x0, y0, z0), x0 + z0)     // 36 & 15 = 4
                                      + Share(0.6, d2(x1, y1, z1), x1 - z1)    // 86 & 15 = 6
                                      + Share(0.6, d2(x2, y2, z2), x2 + y2)    // 128 & 15 = 0
                                      + Share(0.6, d2(x3, y3, z3), -x3 - y3)); // 195 & 15 = 3
        EXPECT_NEAR(SimplexNoise3(0.1f, 0.2f, 0.3f), expected, 1e-6);
        EXPECT_GT(std::fabs(expected), 0.05) << "a point that tests something";
    }
}

TEST(SimplexNoise, IsContinuousAndStaysWithinOne)
{
    // Lines that cross many cells at odd angles, in small steps.
    auto along = [](float s) {
        return std::array<float, 3>{SimplexNoise1(s), SimplexNoise2(s, 3.1f - 0.37f * s),
                                    SimplexNoise3(s, 3.1f + 0.53f * s, 0.7f - 0.29f * s)};
    };
    constexpr int Steps = 20000;
    constexpr float Start = -7.3f;
    constexpr float Step = 0.001f;
    std::array<float, 3> previous = along(Start);
    float largestJump[3] = {};
    float extreme[3] = {};
    for (int n = 1; n <= Steps; ++n) {
        const std::array<float, 3> values = along(Start + float(n) * Step);
        for (int d = 0; d < 3; ++d) {
            largestJump[d] = std::max(largestJump[d], std::fabs(values[d] - previous[d]));
            extreme[d] = std::max(extreme[d], std::fabs(values[d]));
        }
        previous = values;
    }
    for (int d = 0; d < 3; ++d) {
        EXPECT_LT(largestJump[d], 0.05f) << "dimension " << d + 1;
        EXPECT_LE(extreme[d], 1.0f) << "dimension " << d + 1;
        EXPECT_GT(extreme[d], 0.5f) << "dimension " << d + 1 << " uses its range";
    }
}
