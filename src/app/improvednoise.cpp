#include "app/improvednoise.h"

#include "app/perlinpermutation.h"

#include <array>
#include <cmath>
#include <cstdint>

namespace {

constexpr std::array<uint8_t, 512> Doubled()
{
    std::array<uint8_t, 512> p{};
    for (size_t i = 0; i < 512; ++i)
        p[i] = kPerlinPermutation[i % 256];
    return p;
}

constexpr std::array<uint8_t, 512> kP = Doubled();

} // namespace

float ImprovedNoise3(float x, float y, float z)
{
    const float fx = std::floor(x), fy = std::floor(y), fz = std::floor(z);
    const int X = int(fx) & 255, Y = int(fy) & 255, Z = int(fz) & 255;
    x -= fx;
    y -= fy;
    z -= fz;
    const float u = NoiseFade(x), v = NoiseFade(y), w = NoiseFade(z);
    const int A = kP[size_t(X)] + Y, AA = kP[size_t(A)] + Z, AB = kP[size_t(A + 1)] + Z;
    const int B = kP[size_t(X + 1)] + Y, BA = kP[size_t(B)] + Z, BB = kP[size_t(B + 1)] + Z;
    return NoiseLerp(
        w,
        NoiseLerp(v, NoiseLerp(u, NoiseGrad(kP[size_t(AA)], x, y, z), NoiseGrad(kP[size_t(BA)], x - 1, y, z)),
                  NoiseLerp(u, NoiseGrad(kP[size_t(AB)], x, y - 1, z), NoiseGrad(kP[size_t(BB)], x - 1, y - 1, z))),
        NoiseLerp(v,
                  NoiseLerp(u, NoiseGrad(kP[size_t(AA + 1)], x, y, z - 1), NoiseGrad(kP[size_t(BA + 1)], x - 1, y, z - 1)),
                  NoiseLerp(u, NoiseGrad(kP[size_t(AB + 1)], x, y - 1, z - 1),
                            NoiseGrad(kP[size_t(BB + 1)], x - 1, y - 1, z - 1))));
}
