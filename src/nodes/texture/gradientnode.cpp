#include "nodes/texture/gradientnode.h"

#include "app/check.h"
#include "nodes/support/cputexture.h"
#include "nodes/support/publishtexture.h"
#include "render/render.h"
#include "render/texture.h"
#include "render/texturemanager.h"

#include <algorithm>
#include <cmath>
#include <numbers>

template <>
CNodeDeclaration DeclareNode<CGradientNode>()
{
    TPorts<CGradientNode> stops;
    static const char* const peakDescs[] = {"Where in the gradient the color 1 has it's peak value",
                                            "Where in the gradient the color 2 has it's peak value",
                                            "Where in the gradient the color 3 has it's peak value",
                                            "Where in the gradient the color 4 has it's peak value",
                                            "Where in the gradient the color 5 has it's peak value"};
    static const char* const peakNames[] = {"Color1Peak", "Color2Peak", "Color3Peak", "Color4Peak", "Color5Peak"};
    static const char* const colorNames[] = {"Color1", "Color2", "Color3", "Color4", "Color5"};
    static const char* const colorDescs[] = {"Input color 1", "Input color 2", "Input color 3", "Input color 4",
                                             "Input color 5"};
    for (size_t i = 0; i < CGradientNode::Stops; ++i) {
        stops = {stops, In(&CGradientNode::m_peaks, i, peakNames[i], peakDescs[i],
                           {i == 0 ? 0.0f : 1.0f, 0.01f, 0.0f, 1.0f}),
                 In(&CGradientNode::m_colors, i, colorNames[i], colorDescs[i],
                    {i == 0 ? CPortColor::Rgba{0, 0, 0, 0} : CPortColor::Rgba{1, 1, 1, 1}})};
    }
    return {
        In(&CGradientNode::m_width, "Width", "Width of texture", {256, 1, 4096, PowerOfTwoSizes(1)}),
        In(&CGradientNode::m_height, "Height", "Height of texture", {1, 1, 4096, PowerOfTwoSizes(1)}),
        In(&CGradientNode::m_gradientType, "GradientType", "Gradient type",
           {0, 0, 3, {{0, "Linear"}, {1, "Radial"}, {2, "Conical"}, {3, "Square"}}}),
        In(&CGradientNode::m_angle, "Angle", "Rotation angle in degress", {0.0f, 0.01f, -10000.0f, 10000.0f}),
        In(&CGradientNode::m_centerX, "CenterX", "Center position X", {0.5f, 0.001f, -100.0f, 100.0f}),
        In(&CGradientNode::m_centerY, "CenterY", "Center position Y", {0.5f, 0.001f, -100.0f, 100.0f}),
        stops,
        In(&CGradientNode::m_background, "BackgroundColor", "Background color", {{0, 0, 0, 0}}),
        Out(&CGradientNode::m_texture, "Texture", "Texture"),
    };
}

void CGradientNode::Update(float time, CSceneContext*)
{
    PublishTexture(*m_texture, this, m_dimension, m_flags);
    if (UpdateInPorts(time)) {
        SetTextureInfo(m_height->m_value < 2 ? 1 : 2, 0x28);
        PublishTexture(*m_texture, this, m_dimension, m_flags);
        m_deviceDirty = 0xFFFFFFFFu;
    }
}

bool CGradientNode::RestoreDevice(CRender* render)
{
    const int width = m_width->m_value, height = m_height->m_value;
    CTextureManager* textures = render->GetRenderData() ? render->GetRenderData()->GetTextureManager() : nullptr;
    std::shared_ptr<CTexture>& texture = dObjs[size_t(render->GetDeviceIndex())].m_texture;
    CHECK(textures);
    if (height < 2)
        CHECK_FAILURE(!(texture = textures->GetTexture(width, 1, 0, TF_A8R8G8B8, TT_Normal)));
    else
        CHECK_FAILURE(!(texture = textures->GetTexture(width, height, 0, TF_A8R8G8B8, TT_Normal)));
    Fill(*texture);
    return true;
}

void CGradientNode::InvalidateDevice(CRender* render)
{
    dObjs[size_t(render->GetDeviceIndex())].m_texture.reset();
}

bool CGradientNode::ResetDevice(CRender* render)
{
    const std::shared_ptr<CTexture>& texture = dObjs[size_t(render->GetDeviceIndex())].m_texture;
    const int height = m_height->m_value;
    const bool fits = texture && texture->m_width == m_width->m_value && texture->GetShape() != ETextureShape::Cube &&
                      texture->m_depth <= 1 && (height > 1 ? texture->m_height == height : texture->m_height <= 1);
    if (fits) {
        Fill(*texture);
        return true;
    }
    InvalidateDevice(render);
    return RestoreDevice(render);
}

void CGradientNode::Fill(CTexture& texture) const
{
    struct SStop
    {
        float peak;
        CPortColor::Rgba color;
    };
    std::array<SStop, Stops> stops;
    for (size_t i = 0; i < Stops; ++i)
        stops[i] = {m_peaks[i]->m_value, m_colors[i]->m_value};
    // A few passes of neighbour swaps: equal peaks keep their port order.
    for (int pass = 0; pass < Stops; ++pass) {
        bool swapped = false;
        for (size_t i = 0; i + 1 < Stops; ++i) {
            if (stops[i + 1].peak < stops[i].peak && stops[i].peak - stops[i + 1].peak > 1e-5f) {
                std::swap(stops[i], stops[i + 1]);
                swapped = true;
            }
        }
        if (!swapped)
            break;
    }

    const int width = texture.m_width, height = std::max(1, texture.m_height);
    const int type = m_gradientType->m_value;
    const double diagonal = std::floor(std::sqrt(double(width) * width + double(height) * height) * 0.5 + 0.5);
    const float length = type == 0 ? float(width) : type == 3 ? float(std::max(width, height)) * 0.5f : float(diagonal);
    const float cx = m_centerX->m_value * float(m_width->m_value);
    const float cy = m_centerY->m_value * float(m_height->m_value);
    const float angle = m_angle->m_value * std::numbers::pi_v<float> / 180.0f;
    const float c = std::cos(angle), s = std::sin(angle);
    uint8_t* texels = texture.Lock();
    if (!texels)
        return;
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            const float dx = float(column) + 0.5f - cx, dy = float(row) + 0.5f - cy;
            const float u = dx * c - dy * s, v = dx * s + dy * c;
            float t = 0.0f;
            switch (type) {
            case 0: t = u / length + 0.5f; break;
            case 1: t = std::sqrt(u * u + v * v) / length; break;
            case 2: t = std::abs(std::atan2(v, u)) / std::numbers::pi_v<float>; break;
            default: t = std::max(std::abs(u), std::abs(v)) / length; break;
            }
            t = std::clamp(t, 0.0f, 1.0f);
            CPortColor::Rgba color = m_background->m_value;
            for (size_t i = 1; i < Stops; ++i) {
                if (t <= stops[i].peak) {
                    const float span = stops[i].peak - stops[i - 1].peak;
                    // Two stops at one peak: the later one's colour.
                    color = span > 0.0f ? Blend(stops[i - 1].color, stops[i].color, (t - stops[i - 1].peak) / span)
                                        : stops[i].color;
                    break;
                }
            }
            WriteTexel(texels + 4 * (size_t(row) * size_t(width) + size_t(column)), color);
        }
    }
    texture.Unlock(0);
}
