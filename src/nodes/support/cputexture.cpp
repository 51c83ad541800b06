#include "nodes/support/cputexture.h"

#include "render/rendertypes.h"
#include "render/texturemanager.h"

#include <string>

uint8_t ToByte(float value)
{
    if (value >= 1.0f)
        return 255;
    if (!(value > 0.0f))
        return 0;
    return uint8_t(value * 255.0f);
}

void WriteTexel(uint8_t* texel, const CPortColor::Rgba& color)
{
    for (size_t i = 0; i < 4; ++i)
        texel[i] = ToByte(color[i]);
}

CPortColor::Rgba Blend(const CPortColor::Rgba& a, const CPortColor::Rgba& b, float t)
{
    CPortColor::Rgba out;
    for (size_t i = 0; i < 4; ++i)
        out[i] = a[i] + (b[i] - a[i]) * t;
    return out;
}

std::vector<SChoice> PowerOfTwoSizes(int lowest)
{
    // The names must outlive the declaration: one table for all callers.
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (int size = 1; size <= 4096; size *= 2)
            all.push_back(std::to_string(size));
        return all;
    }();
    std::vector<SChoice> choices;
    for (int size = 1, i = 0; size <= 4096; size *= 2, ++i) {
        if (size >= lowest)
            choices.push_back({size, names[size_t(i)].c_str()});
    }
    return choices;
}

std::shared_ptr<CTexture> GetShapedTexture(CTextureManager& textures, int width, int height, int depth)
{
    if (height < 2)
        return textures.GetTexture(width, 1, 0, TF_A8R8G8B8, TT_Normal);
    if (depth < 2)
        return textures.GetTexture(width, height, 0, TF_A8R8G8B8, TT_Normal);
    return textures.GetTexture(width, height, depth, TF_A8R8G8B8, TT_Normal);
}

int ShapeDimension(int height, int depth)
{
    return height < 2 ? 1 : depth < 2 ? 2 : 3;
}
