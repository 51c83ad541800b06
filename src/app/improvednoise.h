#pragma once

#include "app/perlinpermutation.h"

#include <array>
#include <cmath>
#include <cstdint>

// Ken Perlin's improved noise (2002): gradients from the low four bits of a
// hash of the reference permutation, blended with 6t^5 - 15t^4 + 10t^3.

inline float NoiseFade(float t)
{
    return t * t * t * (t * (t * 6.0f - 15.0f) + 10.0f);
}

inline float NoiseLerp(float t, float a, float b)
{
    return a + t * (b - a);
}

// The gradient of the low four bits of the hash, dotted with (x, y, z):
// the twelve edge directions of a cube, four of them twice. A table, since
// the branches of the reference form mispredict on random hashes.
inline constexpr float kNoiseGradients[16][3] = {
    {1, 1, 0}, {-1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, {1, 0, 1}, {-1, 0, 1}, {1, 0, -1}, {-1, 0, -1},
    {0, 1, 1}, {0, -1, 1}, {0, 1, -1}, {0, -1, -1}, {1, 1, 0}, {0, -1, 1}, {-1, 1, 0}, {0, -1, -1},
};

inline float NoiseGrad(int hash, float x, float y, float z)
{
    const float* g = kNoiseGradients[hash & 15];
    return g[0] * x + g[1] * y + g[2] * z;
}

// floor() by truncation: the baseline x86-64 target has no rounding
// instruction, and a call to the library's floor costs as much as the rest
// of a noise lookup. Exact for the magnitudes noise is read at.
inline float NoiseFloor(float v)
{
    const float t = float(int(v));
    return t > v ? t - 1.0f : t;
}

// The reference permutation twice in a row, so that sums of two entries
// need no wrap.
inline constexpr std::array<uint8_t, 512> kPerlinPermutationTwice = [] {
    std::array<uint8_t, 512> p{};
    for (size_t i = 0; i < 512; ++i)
        p[i] = kPerlinPermutation[i % 256];
    return p;
}();

// -1 to 1, 0 at every integer point, repeating every 256 units. Inline:
// the flow field of particles calls it twelve times a particle.
inline float ImprovedNoise3(float x, float y, float z)
{
    const auto& P = kPerlinPermutationTwice;
    const float fx = NoiseFloor(x), fy = NoiseFloor(y), fz = NoiseFloor(z);
    const int X = int(fx) & 255, Y = int(fy) & 255, Z = int(fz) & 255;
    x -= fx;
    y -= fy;
    z -= fz;
    const float u = NoiseFade(x), v = NoiseFade(y), w = NoiseFade(z);
    const int A = P[size_t(X)] + Y, AA = P[size_t(A)] + Z, AB = P[size_t(A + 1)] + Z;
    const int B = P[size_t(X + 1)] + Y, BA = P[size_t(B)] + Z, BB = P[size_t(B + 1)] + Z;
    return NoiseLerp(w,
                     NoiseLerp(v, NoiseLerp(u, NoiseGrad(P[size_t(AA)], x, y, z), NoiseGrad(P[size_t(BA)], x - 1, y, z)),
                               NoiseLerp(u, NoiseGrad(P[size_t(AB)], x, y - 1, z),
                                         NoiseGrad(P[size_t(BB)], x - 1, y - 1, z))),
                     NoiseLerp(v,
                               NoiseLerp(u, NoiseGrad(P[size_t(AA + 1)], x, y, z - 1),
                                         NoiseGrad(P[size_t(BA + 1)], x - 1, y, z - 1)),
                               NoiseLerp(u, NoiseGrad(P[size_t(AB + 1)], x, y - 1, z - 1),
                                         NoiseGrad(P[size_t(BB + 1)], x - 1, y - 1, z - 1))));
}
