#include "nodes/texture/noisetexturenode.h"

#include "app/check.h"
#include "expression/simplexnoise.h"
#include "nodes/support/cputexture.h"
#include "nodes/support/publishtexture.h"
#include "render/render.h"
#include "render/texture.h"
#include "render/texturemanager.h"

#include <cmath>

namespace {

// Noise that tiles with period 1 in x and y: the four shifted copies of
// the noise blended by the distance to the far edges.
float Tile2(float x, float y, float f)
{
    const float X = x * f, Y = y * f;
    return ((f - X) * (f - Y) * SimplexNoise2(X, Y) + X * (f - Y) * SimplexNoise2(X - f, Y) +
            X * Y * SimplexNoise2(X - f, Y - f) + (f - X) * Y * SimplexNoise2(X, Y - f)) /
           (f * f);
}

// The same over the eight corners of the cube.
float Tile3(float x, float y, float z, float f)
{
    const float A[3] = {x * f, y * f, z * f};
    float sum = 0.0f;
    for (int corner = 0; corner < 8; ++corner) {
        float weight = 1.0f, p[3];
        for (int axis = 0; axis < 3; ++axis) {
            const bool shifted = corner & (1 << axis);
            p[axis] = shifted ? A[axis] - f : A[axis];
            weight *= shifted ? A[axis] : f - A[axis];
        }
        sum += weight * SimplexNoise3(p[0], p[1], p[2]);
    }
    return sum / (f * f * f);
}

const std::vector<SChoice>& NoiseChoices()
{
    static const std::vector<SChoice> choices = {
        {0, "None"},           {1, "Noise frequency 1"}, {2, "Noise frequency 2"},  {3, "Noise frequency 4"},
        {4, "Noise frequency 8"}, {5, "Noise frequency 16"}, {6, "Noise frequency 32"}, {7, "Noise frequency 64"},
        {8, "Fractal sum 2"},  {9, "Fractal sum 3"},     {10, "Fractal sum 4"},     {11, "Fractal sum 5"},
        {12, "Fractal sum 6"}, {13, "Turbulence 2"},     {14, "Turbulence 3"},      {15, "Turbulence 4"},
        {16, "Turbulence 5"},  {17, "Turbulence 6"}};
    return choices;
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CNoiseTextureNode>()
{
    const std::vector<SChoice>& noises = NoiseChoices();
    const std::vector<SChoice> fromOne(noises.begin() + 1, noises.end());
    return {
        In(&CNoiseTextureNode::m_width, "Width", "Width of texture", {256, 1, 4096, PowerOfTwoSizes(1)}),
        In(&CNoiseTextureNode::m_height, "Height", "Height of texture", {256, 1, 4096, PowerOfTwoSizes(1)}),
        In(&CNoiseTextureNode::m_depth, "Depth", "Depth of texture", {1, 1, 4096, PowerOfTwoSizes(1)}),
        In(&CNoiseTextureNode::m_noise, 0, "NoiseR", "Type of noise to place in the R component of the texture",
           {2, 1, 17, fromOne}),
        In(&CNoiseTextureNode::m_noise, 1, "NoiseG", "Type of noise to place in the G component of the texture",
           {3, 0, 17, noises}),
        In(&CNoiseTextureNode::m_noise, 2, "NoiseB", "Type of noise to place in the G component of the texture",
           {4, 0, 17, noises}),
        In(&CNoiseTextureNode::m_noise, 3, "NoiseA", "Type of noise to place in the G component of the texture",
           {5, 0, 17, noises}),
        In(&CNoiseTextureNode::m_offset, "Offset", "Position offset of the generated noise",
           {{0, 0, 0}, 0.001f, 10000.0f}),
        Out(&CNoiseTextureNode::m_texture, "Texture", "Texture"),
    };
}

float CNoiseTextureNode::Noise(int type, float x, float y, float z, bool volume)
{
    const auto tile = [&](float f) { return volume ? Tile3(x, y, z, f) : Tile2(x, y, f); };
    if (type <= 0)
        return 0.0f;
    if (type <= 7)
        return tile(float(1 << (type - 1)));
    // Octaves at frequencies that are not powers of two, so their grids
    // never line up; turbulence folds each octave up.
    const bool turbulence = type >= 13;
    const int octaves = turbulence ? type - 11 : type - 6;
    float f = 1.0f, amplitude = 1.0f, total = 0.0f, weight = 0.0f;
    for (int octave = 0; octave < octaves; ++octave) {
        const float value = tile(f);
        total += (turbulence ? std::abs(value) : value) * amplitude;
        weight += amplitude;
        f *= 2.1362815f;
        amplitude *= 0.5f;
    }
    return total / weight;
}

void CNoiseTextureNode::Update(float time, CSceneContext*)
{
    PublishTexture(*m_texture, this, m_dimension, m_flags);
    if (UpdateInPorts(time)) {
        const int dimension = ShapeDimension(m_height->m_value, m_depth->m_value);
        SetTextureInfo(dimension, dimension == 3 ? 0 : 8);
        PublishTexture(*m_texture, this, m_dimension, m_flags);
        m_deviceDirty = 0xFFFFFFFFu;
    }
}

bool CNoiseTextureNode::RestoreDevice(CRender* render)
{
    const int width = m_width->m_value, height = m_height->m_value, depth = m_depth->m_value;
    CTextureManager* textures = render->GetRenderData() ? render->GetRenderData()->GetTextureManager() : nullptr;
    std::shared_ptr<CTexture>& texture = dObjs[size_t(render->GetDeviceIndex())].m_texture;
    CHECK(textures);
    CHECK_FAILURE(!(texture = GetShapedTexture(*textures, width, height, depth)));
    uint8_t* texels = texture->Lock();
    if (!texels)
        return true;

    // A one-row texture holds one row, whatever the depth asks.
    const bool volume = height >= 2 && depth >= 2;
    const int rows = std::max(1, texture->m_height), slices = volume ? depth : 1;
    const float dx = float(1.0 / width), dy = float(1.0 / height), dz = float(1.0 / depth);
    const CPortVector::Xyz& offset = m_offset->m_value;
    int types[4];
    for (size_t c = 0; c < 4; ++c)
        types[c] = m_noise[c]->m_value;
    float z = volume ? offset[2] : 0.0f;
    size_t at = 0;
    for (int slice = 0; slice < slices; ++slice, z += dz) {
        float y = volume ? 0.0f : offset[1];
        for (int row = 0; row < rows; ++row, y += dy) {
            float x = 0.0f;
            for (int column = 0; column < width; ++column, x += dx) {
                for (size_t c = 0; c < 4; ++c)
                    texels[at++] = ToByte(Noise(types[c], x, y, z, volume) * 0.5f + 0.5f);
            }
        }
    }
    texture->Unlock(0);
    return true;
}

void CNoiseTextureNode::InvalidateDevice(CRender* render)
{
    dObjs[size_t(render->GetDeviceIndex())].m_texture.reset();
}
