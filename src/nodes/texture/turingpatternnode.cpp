#include "nodes/texture/turingpatternnode.h"

#include "app/check.h"
#include "nodes/support/cputexture.h"
#include "nodes/support/publishtexture.h"
#include "render/render.h"
#include "render/texture.h"
#include "render/texturemanager.h"
#include "scene/scenecontext.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

template <>
CNodeDeclaration DeclareNode<CTuringPatternNode>()
{
    return {
        In(&CTuringPatternNode::m_width, "Width", "Width of texture", {256, 1, 4096, PowerOfTwoSizes(4)}),
        In(&CTuringPatternNode::m_height, "Height", "Height of texture", {256, 1, 4096, PowerOfTwoSizes(4)}),
        Out(&CTuringPatternNode::m_texture, "Texture", "Texture"),
    };
}

CTuringPatternNode::CTuringPatternNode()
{
    // The same pattern in every scene: the generator is nobody's to seed.
    m_random.SetState(0x2b1f4d63u, 0xa6ed44bdu, 0x147914e7u, 0xfa12bc98u);
}

void CTuringPatternNode::Update(float, CSceneContext* context)
{
    PublishTexture(*m_texture, this, m_dimension, m_flags);
    m_sinceStep += context ? context->m_deltaTime : 0.0f;
    if (m_sinceStep < StepSeconds && !m_grid.empty())
        return;
    // One step an update at most: a slow frame rate does not pile up a debt.
    m_sinceStep -= StepSeconds;
    if (m_sinceStep > 0.5f)
        m_sinceStep = 0.0f;
    Step();
    SetTextureInfo(2, 0);
    if (m_textureWidth != Side(m_width->m_value) || m_textureHeight != Side(m_height->m_value))
        m_deviceDirty = 0xFFFFFFFFu;
}

int CTuringPatternNode::Side(int value)
{
    return 1 << int(std::floor(std::log2(std::clamp(value, 1, 4096))));
}

void CTuringPatternNode::Step()
{
    const int width = Side(m_width->m_value), height = Side(m_height->m_value);
    const size_t cells = size_t(width) * size_t(height);
    if (m_grid.size() < cells) {
        m_grid.resize(cells);
        for (float& cell : m_grid)
            cell = m_random.NextUnit();
    }
    for (std::vector<float>* field : {&m_mean, &m_drift, &m_variation})
        field->assign(Scales * cells, 0.0f);

    const float turn = m_random.NextUnit() * 6.2831855f;
    for (int s = 0; s < Scales; ++s) {
        const int radius = 2 << s;
        int offsets[9][2];
        for (int k = 0; k < 9; ++k) {
            const float angle = float(k) * 6.2831855f / 9.0f + turn;
            offsets[k][0] = int(std::cos(angle) * float(radius));
            offsets[k][1] = int(std::sin(angle) * float(radius));
        }
        float* mean = &m_mean[size_t(s) * cells];
        float* drift = &m_drift[size_t(s) * cells];
        float* variation = &m_variation[size_t(s) * cells];
        const float threshold = float(s) * 0.05f + 0.5f;
        for (int pass = 0; pass < 2; ++pass) {
            for (const auto& offset : offsets) {
                for (int y = 0; y < height; ++y) {
                    const float* row = &m_grid[size_t((y + offset[1]) & (height - 1)) * size_t(width)];
                    const size_t at = size_t(y) * size_t(width);
                    for (int x = 0; x < width; ++x) {
                        const float g = row[(x + offset[0]) & (width - 1)];
                        if (pass == 0) {
                            mean[at + x] += g * 0.11111111f;
                        } else {
                            variation[at + x] += std::abs(g - mean[at + x]) * 0.11111111f;
                            drift[at + x] += g > threshold ? 0.005f : -0.005f;
                        }
                    }
                }
            }
        }
    }

    for (size_t i = 0; i < cells; ++i) {
        int lo = 0, hi = 0;
        for (int s = 1; s < Scales; ++s) {
            // The later scale wins a tie.
            if (m_variation[size_t(s) * cells + i] <= m_variation[size_t(lo) * cells + i])
                lo = s;
            if (m_variation[size_t(s) * cells + i] >= m_variation[size_t(hi) * cells + i])
                hi = s;
        }
        for (int s = lo; s <= hi; ++s)
            m_grid[i] += m_drift[size_t(s) * cells + i] + m_variation[size_t(s) * cells + i] * 0.5f;
    }

    const auto [smallest, largest] = std::minmax_element(m_grid.begin(), m_grid.begin() + std::ptrdiff_t(cells));
    const float low = *smallest, range = *largest - *smallest;
    for (size_t i = 0; i < cells; ++i)
        m_grid[i] = range > 0.0f ? (m_grid[i] - low) / range : 0.0f;
}

bool CTuringPatternNode::RestoreDevice(CRender* render)
{
    CTextureManager* textures = render->GetRenderData() ? render->GetRenderData()->GetTextureManager() : nullptr;
    std::shared_ptr<CTexture>& texture = dObjs[size_t(render->GetDeviceIndex())].m_texture;
    CHECK(textures);
    const int width = Side(m_width->m_value), height = Side(m_height->m_value);
    CHECK_FAILURE(!(texture = textures->GetTexture(width, height, 0, TF_A8R8G8B8, TT_Dynamic)));
    m_textureWidth = width;
    m_textureHeight = height;
    return true;
}

void CTuringPatternNode::InvalidateDevice(CRender* render)
{
    dObjs[size_t(render->GetDeviceIndex())].m_texture.reset();
}

std::shared_ptr<CTexture> CTuringPatternNode::GetTexture(CRender* render)
{
    std::shared_ptr<CTexture>& texture = dObjs[size_t(render->GetDeviceIndex())].m_texture;
    if (!texture)
        return nullptr;
    uint8_t* texels = texture->Lock();
    const size_t cells = std::min(m_grid.size(), size_t(texture->m_width) * size_t(std::max(texture->m_height, 1)));
    if (texels) {
        for (size_t i = 0; i < cells; ++i) {
            const uint8_t grey = ToByte(m_grid[i]);
            uint8_t* texel = texels + 4 * i;
            texel[0] = texel[1] = texel[2] = grey;
            texel[3] = 255;
        }
        texture->Unlock(0);
    }
    return texture;
}
