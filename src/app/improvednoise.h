#pragma once

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

// -1 to 1, 0 at every integer point, repeating every 256 units.
float ImprovedNoise3(float x, float y, float z);
