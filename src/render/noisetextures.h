#pragma once

#include <array>
#include <cstdint>
#include <memory>

class CTexture;
class CTextureManager;

// The three fixed textures behind the noise functions of composed effects:
// a tiling 3D Perlin noise and the permutation table as a 1D and a 2D
// lookup. Made once per device; effects only read them.
class CNoiseTextures
{
public:
    static constexpr int PerlinSize = 32;
    // The 3D texture holds this many lattice cells per side, so it tiles.
    static constexpr int PerlinPeriod = 8;

    // False if a texture could not be made; the others may then be missing.
    bool Init(CTextureManager& manager);
    // Gives the textures back to their manager.
    void Free();

    std::shared_ptr<CTexture> GetPerlin3D() const { return m_perlin3D; }
    std::shared_ptr<CTexture> GetPermutation1D() const { return m_permutation1D; }
    std::shared_ptr<CTexture> GetPermutation2D() const { return m_permutation2D; }

    // Ken Perlin's permutation of improved noise, stored twice in a row.
    static const std::array<uint8_t, 512>& Permutation();

private:
    bool MakePerlin3D(CTextureManager& manager);
    bool MakePermutation1D(CTextureManager& manager);
    bool MakePermutation2D(CTextureManager& manager);

    std::shared_ptr<CTexture> m_perlin3D;
    std::shared_ptr<CTexture> m_permutation1D;
    std::shared_ptr<CTexture> m_permutation2D;
};
