#include "nodes/texture/randomtexturenode.h"

#include "app/check.h"
#include "app/random.h"
#include "nodes/support/cputexture.h"
#include "nodes/support/publishtexture.h"
#include "render/render.h"
#include "render/texture.h"
#include "render/texturemanager.h"

#include <algorithm>

template <>
CNodeDeclaration DeclareNode<CRandomTextureNode>()
{
    return {
        In(&CRandomTextureNode::m_width, "Width", "Width of texture", {256, 1, 4096, PowerOfTwoSizes(1)}),
        In(&CRandomTextureNode::m_height, "Height", "Height of texture", {256, 1, 4096, PowerOfTwoSizes(1)}),
        In(&CRandomTextureNode::m_seed, "Seed", "Seed value to use for the pseudo randomizer", {1, 1, 100000}),
        In(&CRandomTextureNode::m_count, "Count",
           "Number of values to randomize. If this value is 0 then CountRel will be used instead", {0, 0, 1000000}),
        In(&CRandomTextureNode::m_countRel, "CountRel",
           "Relative number of pixels to randomize as a percent of total texture area. Count must be 0 to use this "
           "value",
           {10.0f, 0.1f, 0.0f, 100.0f}),
        In(&CRandomTextureNode::m_background, "BackgroundColor",
           "The whole texture will be filled with this color. It ignores the Rect value", {{0, 0, 0, 1}}),
        In(&CRandomTextureNode::m_color1, "Color1", "A random color will be picked between color1 and color2",
           {{0, 0, 0, 1}}),
        In(&CRandomTextureNode::m_color2, "Color2", "A random color will be picked between color1 and color2",
           {{1, 1, 1, 1}}),
        In(&CRandomTextureNode::m_rect, "Rect", "Region of texture to cover",
           {{0, 0, 1, 1}, {0.01f, 0.01f, 0.02f, 0.02f}, {0, 0, 0, 0}, {1, 1, 2, 2}}),
        Out(&CRandomTextureNode::m_texture, "Texture", "Texture"),
    };
}

void CRandomTextureNode::Update(float time, CSceneContext*)
{
    PublishTexture(*m_texture, this, m_dimension, m_flags);
    if (UpdateInPorts(time))
        m_deviceDirty = 0xFFFFFFFFu;
}

bool CRandomTextureNode::RestoreDevice(CRender* render)
{
    const int width = m_width->m_value, height = m_height->m_value;
    CTextureManager* textures = render->GetRenderData() ? render->GetRenderData()->GetTextureManager() : nullptr;
    std::shared_ptr<CTexture>& texture = dObjs[size_t(render->GetDeviceIndex())].m_texture;
    CHECK(textures);
    CHECK_FAILURE(!(texture = textures->GetTexture(width, height, 0, TF_A8R8G8B8, TT_Normal)));
    uint8_t* texels = texture->Lock();
    if (!texels)
        return true;

    const int count = m_count->m_value != 0 ? m_count->m_value
                                            : int(m_countRel->m_value / 100.0f * float(width) * float(height));
    const auto side = [](float start, float size, int extent) {
        const int from = std::clamp(int(float(extent) * start), 0, extent);
        return std::pair{from, std::clamp(from + int(float(extent) * size), 0, extent)};
    };
    const auto [x0, x1] = side(m_rect->m_x.m_value, m_rect->m_w.m_value, width);
    const auto [y0, y1] = side(m_rect->m_y.m_value, m_rect->m_h.m_value, height);
    const int rw = x1 - x0, rh = y1 - y0;
    CRandom random;
    random.Seed(uint32_t(m_seed->m_value));
    const auto put = [&](int x, int y, const CPortColor::Rgba& color) {
        WriteTexel(texels + 4 * (size_t(y) * size_t(width) + size_t(x)), color);
    };
    const auto fillBackground = [&] {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                put(x, y, m_background->m_value);
    };
    const bool dense = count >= rw * rh || (m_count->m_value == 0 && m_countRel->m_value >= 100.0f);
    if (dense) {
        if (rw != width || rh != height)
            fillBackground();
        for (int y = y0; y < y1; ++y)
            for (int x = x0; x < x1; ++x)
                put(x, y, Blend(m_color1->m_value, m_color2->m_value, random.NextUnit()));
    } else {
        fillBackground();
        for (int i = 0; i < count && rw > 0 && rh > 0; ++i) {
            // A draw that rounds up to 1 stays on the last column or row.
            const int x = x0 + std::min(int(random.NextUnit() * float(rw)), rw - 1);
            const int y = y0 + std::min(int(random.NextUnit() * float(rh)), rh - 1);
            put(x, y, Blend(m_color1->m_value, m_color2->m_value, random.NextUnit()));
        }
    }
    texture->Unlock(0);
    return true;
}

void CRandomTextureNode::InvalidateDevice(CRender* render)
{
    dObjs[size_t(render->GetDeviceIndex())].m_texture.reset();
}
