#include "render/rendergrass.h"

#include "app/check.h"
#include "render/fastmath.h"

#include <cstdint>

CRenderGrass::CGroup* CRenderGrass::AddGroup()
{
    m_groups.push_back(std::make_unique<CGroup>());
    return m_groups.back().get();
}

int CRenderGrass::StrawsPerBuffer(int S)
{
    if (S <= 0)
        return 0;
    return std::min(5500 / (2 * S + 4), 5000 / (2 * S + 2));
}

namespace {

// M strips of 2S + 2 vertices joined by repeating each strip's first and
// last index, closed by one more index.
template <class TIndex>
void FillStrawStrips(TIndex* out, int straws, int segments)
{
    const int vertices = 2 * segments + 2;
    for (int m = 0; m < straws; ++m) {
        const int first = m * vertices;
        if (m > 0)
            *out++ = TIndex(first);
        for (int v = 0; v < vertices; ++v)
            *out++ = TIndex(first + v);
        *out++ = TIndex(first + vertices - 1);
    }
    *out = TIndex(straws * vertices - 1);
}

} // namespace

bool CRenderGrass::RestoreDevice(CRender* render)
{
    SDeviceObjects& objects = Objects(render);
    objects = SDeviceObjects{};
    m_bufferSegments = m_segments;
    const int straws = StrawsPerBuffer(m_segments);
    if (straws == 0)
        return true;
    const int S = m_segments;
    const int triVBufSize = straws * (2 * S + 2);
    const int triIndexSize = straws * (2 * S + 4);
    if (!CreateVertexBuffers(render, triVBufSize, VBF_PNTBTC,
                             "!(dObjs->m_VertexBuffer[i] = render->CreateVertexBuffer(triVBufSize, VBF_DYNAMIC, "
                             "VBF_PNTBTC))",
                             __FILE__, __LINE__))
        return false;
    if (!(objects.m_IndexBuffer = render->CreateIndexBuffer(triIndexSize, 0))) {
        LogCheckFailure("!(dObjs->m_IndexBuffer = render->CreateIndexBuffer(triIndexSize, 0))", __FILE__, __LINE__);
        return false;
    }
    void* indices = objects.m_IndexBuffer->Lock();
    if (!indices)
        return false;
    if (IndexWidth(triIndexSize) == 2)
        FillStrawStrips(static_cast<uint16_t*>(indices), straws, S);
    else
        FillStrawStrips(static_cast<uint32_t*>(indices), straws, S);
    objects.m_IndexBuffer->Unlock();
    return true;
}

void CRenderGrass::AddToRenderList(CRenderList* list, CRenderItemList* parents, CCamera* view, CPDEffect* effect)
{
    AddItems(list, parents, view, effect);
}

void CRenderGrass::WriteStraw(SVertexPNTBTC* out, const SStraw& straw) const
{
    const int S = m_bufferSegments;
    const SVec3 w = SVec3{straw.side[0], straw.side[1], straw.side[2]} * straw.baseWidth;
    const SVec3 wTop = w * m_topWidthFactor;
    const SVec3 p1{straw.p1[0], straw.p1[1], straw.p1[2]};
    const SVec3 p2{straw.p2[0], straw.p2[1], straw.p2[2]};
    const SVec3 p3{straw.p3[0], straw.p3[1], straw.p3[2]};
    const uint32_t color = PackColor(straw.color[0], straw.color[1], straw.color[2], straw.color[3]);
    const auto vertex = [&](const SVec3& p, float u, float v) {
        return SVertexPNTBTC{{p.x, p.y, p.z}, color, {u, v}, {0, 0, -1}, {1, 0, 0}, {0, -1, 0}, 0};
    };
    *out++ = vertex(p3 + wTop, 0, 0);
    *out++ = vertex(p3 - wTop, 1, 0);
    // A quadratic Bezier from the top (t = 0) to the root (t = 1) through the
    // middle point, the width growing from the top's to the base's.
    for (int k = 1; k < S; ++k) {
        const float t = float(k) / float(S), q = 1.0f - t;
        const float g = t * t + t * q;
        const SVec3 left = (p1 + w) * (t * t) + (p2 + w) * (2 * t * q) + (p3 + wTop) * (q * q);
        const SVec3 right = (p1 - w) * (t * t) + (p2 - w) * (2 * t * q) + (p3 - wTop) * (q * q);
        *out++ = vertex(left, 0, g);
        *out++ = vertex(right, 1, g);
    }
    *out++ = vertex(p1 + w, 0, 1);
    *out = vertex(p1 - w, 1, 1);
}

void CRenderGrass::Draw(CRender* render)
{
    SDeviceObjects& objects = Objects(render);
    if (!objects.m_VertexBuffer[0] || m_bufferSegments <= 0)
        return;
    render->SetIndexBuffer(objects.m_IndexBuffer.get());
    const int S = m_bufferSegments;
    const int perStraw = 2 * S + 2;
    const int straws = StrawsPerBuffer(S);
    for (const std::unique_ptr<CGroup>& group : m_groups) {
        Stream(
            render, int(group->size()), straws,
            [&](void* memory, int first, int n) {
                auto* out = static_cast<SVertexPNTBTC*>(memory);
                for (int i = 0; i < n; ++i)
                    WriteStraw(out + i * perStraw, (*group)[size_t(first + i)]);
            },
            [&](int n) { render->DrawIndexedPrimitive(PT_TriangleStrip, perStraw * n, (2 * S + 4) * n - 2, 0); });
    }
}
