#include "render/renderquads.h"

#include "render/fastmath.h"

void CRenderQuads::Resize(int quads)
{
    m_count = std::max(0, quads);
    if (size_t(m_count) > m_quads.size())
        m_quads.resize(size_t(m_count));
}

SQuad* CRenderQuads::AddRibbon(SQuad* destination, const SVec3& a, const SVec3& b, float width, uint32_t color,
                                int across, int along, float repeatU, float repeatV)
{
    const SVec3 d = b - a;
    const SVec3 side = FastNormalize({-d.y, d.x, 0.0f});
    const SVec3 o = side * (width * 0.5f);
    const SVec3 binormal = FastNormalize(Cross(side, {0, 0, -1}));
    const auto vertex = [&](const SVec3& p, float u, float v) {
        return SVertexPNTBTC{{p.x, p.y, p.z}, color,           {u, v},
                             {0, 0, -1},      {side.x, side.y, side.z}, {binormal.x, binormal.y, binormal.z}, 0};
    };
    if (across < 2 && along < 2) {
        *destination++ = SQuad{{vertex(a - o, 0, 0), vertex(b - o, 0, repeatV), vertex(a + o, repeatU, 0),
                                vertex(b + o, repeatU, repeatV)}};
        return destination;
    }
    across = std::max(1, across);
    along = std::max(1, along);
    const SVec3 start = a - o;
    const SVec3 span = o * 2.0f;
    const auto at = [&](float u, float s) { return vertex(start + span * u + d * s, u * repeatU, s * repeatV); };
    for (int j = 0; j < along; ++j) {
        const float s0 = float(j) / float(along), s1 = s0 + 1.0f / float(along);
        for (int i = 0; i < across; ++i) {
            const float u0 = float(i) / float(across), u1 = u0 + 1.0f / float(across);
            *destination++ = SQuad{{at(u0, s0), at(u0, s1), at(u1, s0), at(u1, s1)}};
        }
    }
    return destination;
}

bool CRenderQuads::RestoreDevice(CRender* render)
{
    return LUMORA_CREATE_QUAD_BUFFERS(render, false);
}

void CRenderQuads::AddToRenderList(CRenderList* list, CRenderItemList* parents, CCamera* view, CPDEffect* effect,
                                   int count)
{
    m_drawCount = count > 0 ? std::min(count, m_count) : m_count;
    AddItems(list, parents, view, effect);
}

void CRenderQuads::Draw(CRender* render)
{
    DrawQuads(render, std::span<const SQuad>(m_quads).first(size_t(m_drawCount)), m_RenderBufferQuads);
}

void CRenderQuads::DrawNow(CRender* render, int count)
{
    m_drawCount = count > 0 ? std::min(count, m_count) : m_count;
    Draw(render);
}
