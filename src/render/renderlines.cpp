#include "render/renderlines.h"

#include "app/check.h"

#include <span>

void CRenderLines::Resize(int lines)
{
    m_count = std::max(0, lines);
    if (size_t(m_count) > m_lines.size())
        m_lines.resize(size_t(m_count));
}

void CRenderLines::AddLine(const SVec3& a, const SVec3& b, const float color[4])
{
    const int index = m_count;
    Resize(m_count + 1);
    const uint32_t packed = PackColor(color[0], color[1], color[2], color[3]);
    m_lines[size_t(index)] = SLine{{b.x, b.y, b.z, packed}, {a.x, a.y, a.z, packed}};
}

bool CRenderLines::RestoreDevice(CRender* render)
{
    return LUMORA_CREATE_BATCH_BUFFERS(render, 2*m_RenderBufferLines, VBF_PNTBTC);
}

void CRenderLines::AddToRenderList(CRenderList* list, CRenderItemList* parents, CCamera* view, CPDEffect* effect)
{
    AddItems(list, parents, view, effect);
}

void CRenderLines::Draw(CRender* render)
{
    const auto vertex = [](const SEnd& end, float u) {
        return SVertexPNTBTC{{end.x, end.y, end.z}, end.color, {u, 0.5f}, {0, 0, -1}, {1, 0, 0}, {0, -1, 0}, 0};
    };
    Stream(
        render, m_count, m_RenderBufferLines,
        [&](void* memory, int first, int n) {
            auto* out = static_cast<SVertexPNTBTC*>(memory);
            for (const SLine& line : std::span(m_lines).subspan(size_t(first), size_t(n))) {
                *out++ = vertex(line.end, 0.0f);
                *out++ = vertex(line.start, 1.0f);
            }
        },
        [&](int n) { render->DrawPrimitive(PT_Lines, 0, n); });
}
