#include "expression/simplexnoise.h"

#include "app/perlinpermutation.h"

#include <array>

namespace {

constexpr const std::array<uint8_t, 256>& Permutation = kPerlinPermutation;

constexpr bool IsPermutation(const std::array<unsigned char, 256>& table)
{
    std::array<bool, 256> seen{};
    for (unsigned char v : table) {
        if (seen[v])
            return false;
        seen[v] = true;
    }
    return true;
}
static_assert(IsPermutation(Permutation));

// Written twice, so that an index plus a further hash needs no second mask.
constexpr std::array<unsigned char, 512> MakeDoubled()
{
    std::array<unsigned char, 512> doubled{};
    for (int i = 0; i < 512; ++i)
        doubled[i] = Permutation[i & 255];
    return doubled;
}
constexpr std::array<unsigned char, 512> P = MakeDoubled();

// Exact 0 and negative integers land one cell lower than a true floor would.
// The noise is continuous across cell borders, so only rounding can tell.
int FastFloor(float v)
{
    // Far out (or NaN) no fraction is left to show; the clamp only keeps the
    // conversion defined.
    constexpr float Limit = 536870912.0f; // 2^29: sums of three stay in range
    if (!(v > -Limit && v < Limit))
        return v > 0.0f ? 1 << 29 : -(1 << 29);
    return v > 0.0f ? static_cast<int>(v) : static_cast<int>(v) - 1;
}

float Grad1(int hash, float x)
{
    float g = 1.0f + static_cast<float>(hash & 7);
    if (hash & 8)
        g = -g;
    return g * x;
}

float Grad2(int hash, float x, float y)
{
    const int h = hash & 7;
    const float u = h < 4 ? x : y;
    const float v = h < 4 ? y : x;
    return ((h & 1) ? -u : u) + ((h & 2) ? -2.0f * v : 2.0f * v);
}

float Grad3(int hash, float x, float y, float z)
{
    const int h = hash & 15;
    const float u = h < 8 ? x : y;
    const float v = h < 4 ? y : (h == 12 || h == 14 ? x : z);
    return ((h & 1) ? -u : u) + ((h & 2) ? -v : v);
}

float Corner2(int hash, float x, float y)
{
    float t = 0.5f - x * x - y * y;
    if (t <= 0.0f)
        return 0.0f;
    t *= t;
    return t * t * Grad2(hash, x, y);
}

float Corner3(int hash, float x, float y, float z)
{
    float t = 0.6f - x * x - y * y - z * z;
    if (t <= 0.0f)
        return 0.0f;
    t *= t;
    return t * t * Grad3(hash, x, y, z);
}

} // namespace

float SimplexNoise1(float x)
{
    const int i0 = FastFloor(x);
    const int i1 = i0 + 1;
    const float x0 = x - static_cast<float>(i0);
    const float x1 = x0 - 1.0f;

    float t0 = 1.0f - x0 * x0;
    t0 *= t0;
    const float n0 = t0 * t0 * Grad1(P[i0 & 255], x0);
    float t1 = 1.0f - x1 * x1;
    t1 *= t1;
    const float n1 = t1 * t1 * Grad1(P[i1 & 255], x1);
    // Scaled so that the result stays within about -1 to 1.
    return 0.395f * (n0 + n1);
}

float SimplexNoise2(float x, float y)
{
    constexpr float F2 = 0.36602540f; // (sqrt(3) - 1) / 2
    constexpr float G2 = 0.21132487f; // (3 - sqrt(3)) / 6

    const float s = (x + y) * F2;
    const int i = FastFloor(x + s);
    const int j = FastFloor(y + s);
    const float t = static_cast<float>(i + j) * G2;
    const float x0 = x - (static_cast<float>(i) - t);
    const float y0 = y - (static_cast<float>(j) - t);

    // Which of the cell's two triangles holds the point.
    const int i1 = x0 > y0 ? 1 : 0;
    const int j1 = x0 > y0 ? 0 : 1;
    const float x1 = x0 - static_cast<float>(i1) + G2;
    const float y1 = y0 - static_cast<float>(j1) + G2;
    const float x2 = x0 - 1.0f + 2.0f * G2;
    const float y2 = y0 - 1.0f + 2.0f * G2;

    const int ii = i & 255;
    const int jj = j & 255;
    const float n0 = Corner2(P[ii + P[jj]], x0, y0);
    const float n1 = Corner2(P[ii + i1 + P[jj + j1]], x1, y1);
    const float n2 = Corner2(P[ii + 1 + P[jj + 1]], x2, y2);
    return 40.0f * (n0 + n1 + n2);
}

float SimplexNoise3(float x, float y, float z)
{
    constexpr float F3 = 0.33333334f;
    constexpr float G3 = 0.16666667f;

    const float s = (x + y + z) * F3;
    const int i = FastFloor(x + s);
    const int j = FastFloor(y + s);
    const int k = FastFloor(z + s);
    const float t = static_cast<float>(i + j + k) * G3;
    const float x0 = x - (static_cast<float>(i) - t);
    const float y0 = y - (static_cast<float>(j) - t);
    const float z0 = z - (static_cast<float>(k) - t);

    // The two middle corners of the cell's tetrahedron, by the order of the
    // offsets: one of six cases.
    int i1, j1, k1, i2, j2, k2;
    if (x0 >= y0) {
        if (y0 >= z0) {
            i1 = 1, j1 = 0, k1 = 0, i2 = 1, j2 = 1, k2 = 0;
        } else if (x0 >= z0) {
            i1 = 1, j1 = 0, k1 = 0, i2 = 1, j2 = 0, k2 = 1;
        } else {
            i1 = 0, j1 = 0, k1 = 1, i2 = 1, j2 = 0, k2 = 1;
        }
    } else {
        if (y0 < z0) {
            i1 = 0, j1 = 0, k1 = 1, i2 = 0, j2 = 1, k2 = 1;
        } else if (x0 < z0) {
            i1 = 0, j1 = 1, k1 = 0, i2 = 0, j2 = 1, k2 = 1;
        } else {
            i1 = 0, j1 = 1, k1 = 0, i2 = 1, j2 = 1, k2 = 0;
        }
    }

    const float x1 = x0 - static_cast<float>(i1) + G3;
    const float y1 = y0 - static_cast<float>(j1) + G3;
    const float z1 = z0 - static_cast<float>(k1) + G3;
    const float x2 = x0 - static_cast<float>(i2) + 2.0f * G3;
    const float y2 = y0 - static_cast<float>(j2) + 2.0f * G3;
    const float z2 = z0 - static_cast<float>(k2) + 2.0f * G3;
    const float x3 = x0 - 1.0f + 3.0f * G3;
    const float y3 = y0 - 1.0f + 3.0f * G3;
    const float z3 = z0 - 1.0f + 3.0f * G3;

    const int ii = i & 255;
    const int jj = j & 255;
    const int kk = k & 255;
    const float n0 = Corner3(P[ii + P[jj + P[kk]]], x0, y0, z0);
    const float n1 = Corner3(P[ii + i1 + P[jj + j1 + P[kk + k1]]], x1, y1, z1);
    const float n2 = Corner3(P[ii + i2 + P[jj + j2 + P[kk + k2]]], x2, y2, z2);
    const float n3 = Corner3(P[ii + 1 + P[jj + 1 + P[kk + 1]]], x3, y3, z3);
    return 32.0f * (n0 + n1 + n2 + n3);
}
