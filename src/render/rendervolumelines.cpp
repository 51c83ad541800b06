#include "render/rendervolumelines.h"

#include "render/camera.h"
#include "render/fastmath.h"

#include <cmath>

void CRenderVolumeLines::Reset()
{
    m_polylineCount = 0;
    m_vertexCount = 0;
    m_quadCount = 0;
}

void CRenderVolumeLines::Reserve(int polylines, int vertices)
{
    if (size_t(polylines) > m_polylines.size())
        m_polylines.resize(size_t(polylines));
    if (size_t(vertices) > m_vertices.size())
        m_vertices.resize(size_t(vertices));
    const int quads = std::max(0, vertices - polylines);
    if (size_t(quads) > m_quads.size())
        m_quads.resize(size_t(quads));
}

CRenderVolumeLines::SVertex* CRenderVolumeLines::AddPolyline(int vertices, float uExtent)
{
    vertices = std::max(0, vertices);
    if (size_t(m_polylineCount) >= m_polylines.size())
        m_polylines.resize(size_t(m_polylineCount) + 1);
    if (size_t(m_vertexCount + vertices) > m_vertices.size())
        m_vertices.resize(size_t(m_vertexCount + vertices));
    const int first = m_vertexCount;
    m_polylines[size_t(m_polylineCount++)] = SPolyline{first, first + vertices, uExtent};
    m_vertexCount += vertices;
    return &m_vertices[size_t(first)];
}

namespace {

SVec3 Position(const CRenderVolumeLines::SVertex& v)
{
    return {v.x, v.y, v.z};
}

// Left and right vertices of one point of a ribbon.
void WritePair(SVertexPNTBTC* left, SVertexPNTBTC* right, const CRenderVolumeLines::SVertex& p, float uExtent,
               const SVec3& side, const SVec3& toEye, const SVec3& binormal)
{
    const SVec3 centre = Position(p);
    const SVec3 offset = side * (p.width * 0.5f);
    const auto vertex = [&](const SVec3& at, float u) {
        return SVertexPNTBTC{{at.x, at.y, at.z},     p.color, {u, p.v}, {toEye.x, toEye.y, toEye.z},
                             {side.x, side.y, side.z}, {binormal.x, binormal.y, binormal.z}, 0};
    };
    *left = vertex(centre - offset, 0.0f);
    *right = vertex(centre + offset, uExtent);
}

} // namespace

void CRenderVolumeLines::BuildQuads(const CCamera& camera)
{
    const SVec3 forward = camera.m_forward;
    const SVec3 eye = camera.m_eye;
    const std::span<const SPolyline> polylines = std::span(m_polylines).first(size_t(m_polylineCount));
    size_t needed = 0;
    for (const SPolyline& line : polylines)
        needed += size_t(std::max(0, line.end - line.first - 1));
    if (needed > m_quads.size())
        m_quads.resize(needed);
    m_quadCount = 0;
    for (const SPolyline& line : polylines) {
        const int n = line.end - line.first;
        if (n < 2)
            continue;
        const SVertex* p = &m_vertices[size_t(line.first)];
        SQuad* quads = &m_quads[size_t(m_quadCount)];
        SVec3 binormal;
        for (int i = 0; i < n; ++i) {
            const SVec3 at = Position(p[i]);
            const SVec3 toEye = FastNormalize(eye - at);
            const SVec3 before = Position(p[i == 0 ? 0 : i - 1]);
            const SVec3 after = Position(p[i == n - 1 ? i : i + 1]);
            const SVec3 t = FastNormalize(after - before);
            // Running straight at the viewer the cross with the view axis
            // vanishes: turn the ribbon by the direction to the eye. The
            // first point takes the rule too, so no end of a ribbon collapses.
            const SVec3 side =
                std::fabs(Dot(forward, t)) <= 0.99f ? Cross(forward, t) : FastNormalize(Cross(toEye, forward));
            binormal = FastNormalize(i == 0 ? Cross(toEye, side) : Cross(side, binormal));
            // A point ends the quad before it and begins the next.
            if (i > 0)
                WritePair(&quads[i - 1].v[2], &quads[i - 1].v[3], p[i], line.uExtent, side, toEye, binormal);
            if (i < n - 1)
                WritePair(&quads[i].v[0], &quads[i].v[1], p[i], line.uExtent, side, toEye, binormal);
        }
        m_quadCount += n - 1;
    }
}

bool CRenderVolumeLines::RestoreDevice(CRender* render)
{
    return LUMORA_CREATE_QUAD_BUFFERS(render, true);
}

void CRenderVolumeLines::AddToRenderList(CRenderList* list, CRenderItemList* parents, CCamera* view,
                                         CPDEffect* effect)
{
    AddItems(list, parents, view, effect);
}

void CRenderVolumeLines::Draw(CRender* render)
{
    DrawQuads(render, std::span<const SQuad>(m_quads).first(size_t(m_quadCount)), m_RenderBufferQuads);
}
