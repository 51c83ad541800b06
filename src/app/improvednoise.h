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

// The gradient of the low four bits of the hash, dotted with (x, y, z).
inline float NoiseGrad(int hash, float x, float y, float z)
{
    const int h = hash & 15;
    const float u = h < 8 ? x : y;
    const float v = h < 4 ? y : (h == 12 || h == 14 ? x : z);
    return ((h & 1) == 0 ? u : -u) + ((h & 2) == 0 ? v : -v);
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
    const float fx = std::floor(x), fy = std::floor(y), fz = std::floor(z);
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
