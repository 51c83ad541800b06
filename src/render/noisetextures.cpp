#include "render/noisetextures.h"

#include "app/improvednoise.h"
#include "app/log.h"
#include "app/perlinpermutation.h"
#include "render/rendertypes.h"
#include "render/texture.h"
#include "render/texturemanager.h"

#include <cmath>

namespace {

constexpr const std::array<uint8_t, 512>& kDoubled = kPerlinPermutationTwice;

// Improved noise on a lattice of period 8; `offset` moves to another part of
// the permutation so that two channels differ. Coordinates are never
// negative here.
float PeriodicNoise(float x, float y, float z, int offset)
{
    const auto& P = kDoubled;
    const float fx = std::floor(x), fy = std::floor(y), fz = std::floor(z);
    const int period = CNoiseTextures::PerlinPeriod;
    const int X0 = int(fx) % period + offset, Y0 = int(fy) % period + offset, Z0 = int(fz) % period + offset;
    const int X1 = (int(fx) % period + 1) % period + offset;
    const int Y1 = (int(fy) % period + 1) % period + offset;
    const int Z1 = (int(fz) % period + 1) % period + offset;
    x -= fx;
    y -= fy;
    z -= fz;
    const float u = NoiseFade(x), v = NoiseFade(y), w = NoiseFade(z);
    auto hash = [&](int X, int Y, int Z) { return P[size_t(P[size_t(P[size_t(X)] + Y)] + Z)]; };
    return NoiseLerp(w,
                NoiseLerp(v, NoiseLerp(u, NoiseGrad(hash(X0, Y0, Z0), x, y, z), NoiseGrad(hash(X1, Y0, Z0), x - 1, y, z)),
                     NoiseLerp(u, NoiseGrad(hash(X0, Y1, Z0), x, y - 1, z), NoiseGrad(hash(X1, Y1, Z0), x - 1, y - 1, z))),
                NoiseLerp(v, NoiseLerp(u, NoiseGrad(hash(X0, Y0, Z1), x, y, z - 1), NoiseGrad(hash(X1, Y0, Z1), x - 1, y, z - 1)),
                     NoiseLerp(u, NoiseGrad(hash(X0, Y1, Z1), x, y - 1, z - 1), NoiseGrad(hash(X1, Y1, Z1), x - 1, y - 1, z - 1))));
}

// -1..1 to a byte, saturating.
uint8_t Quantize(float value)
{
    const float w = value * 0.5f + 0.5f;
    if (w >= 1.0f)
        return 255;
    if (w <= 0.0f)
        return 0;
    return uint8_t(w * 255.0f);
}

} // namespace

const std::array<uint8_t, 512>& CNoiseTextures::Permutation()
{
    return kDoubled;
}

bool CNoiseTextures::Init(CTextureManager& manager)
{
    const bool made = MakePerlin3D(manager) && MakePermutation1D(manager) && MakePermutation2D(manager);
    if (!made)
        Error("The noise textures could not be made");
    return made;
}

void CNoiseTextures::Free()
{
    m_perlin3D.reset();
    m_permutation1D.reset();
    m_permutation2D.reset();
}

bool CNoiseTextures::MakePerlin3D(CTextureManager& manager)
{
    constexpr int n = PerlinSize;
    m_perlin3D = manager.GetTexture(n, n, n, TF_A8R8G8B8, TT_Normal);
    uint8_t* out = m_perlin3D ? m_perlin3D->Lock() : nullptr;
    if (!out)
        return false;
    constexpr float step = 0.03125f * float(PerlinPeriod);
    for (int z = 0; z < n; ++z) {
        for (int y = 0; y < n; ++y) {
            for (int x = 0; x < n; ++x) {
                const float a = float(x) * step, b = float(y) * step, c = float(z) * step;
                *out++ = Quantize(PeriodicNoise(a, b, c, 0));
                *out++ = Quantize(PeriodicNoise(a, b, c, PerlinPeriod));
                *out++ = 127;
                *out++ = 255;
            }
        }
    }
    m_perlin3D->Unlock(0);
    return true;
}

bool CNoiseTextures::MakePermutation1D(CTextureManager& manager)
{
    // A height of 1 makes it one-dimensional; the pool refuses a height of 0.
    m_permutation1D = manager.GetTexture(256, 1, 0, TF_A8R8G8B8, TT_Normal);
    uint8_t* out = m_permutation1D ? m_permutation1D->Lock() : nullptr;
    if (!out)
        return false;
    for (size_t i = 0; i < 256; ++i)
        for (int byte = 0; byte < 4; ++byte)
            *out++ = kDoubled[i];
    m_permutation1D->Unlock(0);
    return true;
}

bool CNoiseTextures::MakePermutation2D(CTextureManager& manager)
{
    m_permutation2D = manager.GetTexture(256, 256, 0, TF_A8R8G8B8, TT_Normal);
    uint8_t* out = m_permutation2D ? m_permutation2D->Lock() : nullptr;
    if (!out)
        return false;
    const auto& P = kDoubled;
    for (size_t y = 0; y < 256; ++y) {
        for (size_t x = 0; x < 256; ++x) {
            *out++ = P[P[y] + x];
            *out++ = P[P[y] + x + 1];
            *out++ = P[P[y + 1] + x];
            *out++ = P[P[y + 1] + x + 1];
        }
    }
    m_permutation2D->Unlock(0);
    return true;
}
