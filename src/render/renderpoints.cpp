#include "render/renderpoints.h"

#include "app/check.h"
#include "render/fastmath.h"
#include "scene/node.h"
#include "scene/renderlist.h"

#include <cstring>

namespace {

// Corner directions and texture coordinates of a billboard, in vertex order.
struct SCorner
{
    float r, u; // multiples of the right and up axes
    float tu, tv;
};
constexpr SCorner kCorners[4] = {{-1, -1, 0, 0}, {1, -1, 1, 0}, {-1, 1, 0, 1}, {1, 1, 1, 1}};

SVertexPNTBTC Vertex(const SVec3& p, uint32_t color, float u, float v, const SVec3& n, const SVec3& t, const SVec3& b)
{
    return {{p.x, p.y, p.z}, color, {u, v}, {n.x, n.y, n.z}, {t.x, t.y, t.z}, {b.x, b.y, b.z}, 0};
}

} // namespace

int CRenderPoints::RecordSize(int primitive)
{
    switch (primitive) {
    case Point: return int(sizeof(SPoint));
    case Line: return int(2 * sizeof(SPoint));
    case Texture:
    case AxisTexture:
    case Object: return int(sizeof(SSized));
    case PointSprite: return int(sizeof(SSprite));
    default: return 0;
    }
}

void CRenderPoints::SetPrimitive(int primitive, int capacity)
{
    m_primitive = primitive;
    m_capacity = std::max(0, capacity);
    const size_t words = size_t(m_capacity) * size_t(RecordSize(primitive)) / sizeof(uint32_t);
    if (words > m_data.size())
        m_data.resize(words);
}

bool CRenderPoints::RestoreDevice(CRender* render)
{
    Objects(render) = SDeviceObjects{};
    switch (m_primitive) {
    case Point:
    case Line: return LUMORA_CREATE_BATCH_BUFFERS(render, m_RenderBufferPoints, VBF_PC);
    case PointSprite: return LUMORA_CREATE_BATCH_BUFFERS(render, m_RenderBufferPoints, VBF_PCS);
    case Texture:
    case AxisTexture:
        return LUMORA_CREATE_QUAD_BUFFERS(render, false);
    default: return true; // objects draw themselves
    }
}

void CRenderPoints::AddToRenderList(CRenderList* list, CRenderItemList* parents, CCamera* view, CPDEffect* effect,
                                    CNode* object, int count)
{
    m_count = count > 0 ? std::min(count, m_capacity) : m_capacity;
    if (!object) {
        AddItems(list, parents, view, effect);
        return;
    }
    if (m_primitive == Texture || m_primitive == AxisTexture || m_primitive == Object)
        AddObjects(list, parents, view, object);
}

void CRenderPoints::AddObjects(CRenderList* list, CRenderItemList* parents, CCamera* view, CNode* object)
{
    if (!parents)
        return;
    const std::span<SSized> records = Records<SSized>().first(size_t(m_count));
    for (CRenderItem* parent : *parents) {
        CRenderItemList children;
        for (const SSized& r : records) {
            CRenderItem* item = list->NewItem();
            item->m_view = view;
            for (int c = 0; c < 4; ++c)
                item->m_color[size_t(c)] = float((r.color >> (8 * c)) & 0xFF) / 255.0f * parent->m_color[size_t(c)];
            CMatrix local = MatrixIdentity();
            local[0] = r.sx;
            local[5] = r.sy;
            local[10] = r.sz;
            local[12] = r.x;
            local[13] = r.y;
            local[14] = r.z;
            item->m_world = MatrixMultiply(local, parent->m_world);
            children.PushBack(item);
        }
        object->BuildRenderList(list, &children, view);
        parent->m_children.Splice(children);
    }
}

void CRenderPoints::Draw(CRender* render)
{
    if (m_count <= 0)
        return;
    switch (m_primitive) {
    case Point:
    case Line:
    case PointSprite: {
        const int recordBytes = RecordSize(m_primitive);
        // A chunk is a buffer of vertices; a Line record holds two.
        const int perChunk = m_primitive == Line ? m_RenderBufferPoints / 2 : m_RenderBufferPoints;
        const int kind = m_primitive == Line ? PT_Lines : m_primitive == Point ? PT_Points : PT_PointSprites;
        const auto* bytes = reinterpret_cast<const unsigned char*>(m_data.data());
        render->SetIndexBuffer(nullptr);
        Stream(
            render, m_count, perChunk,
            [&](void* out, int first, int n) {
                std::memcpy(out, bytes + size_t(first) * size_t(recordBytes), size_t(n) * size_t(recordBytes));
            },
            [&](int n) { render->DrawPrimitive(kind, 0, n); });
        break;
    }
    case Texture: DrawBillboards(render); break;
    case AxisTexture: DrawCrossedQuads(render); break;
    default: break;
    }
}

void CRenderPoints::DrawBillboards(CRender* render)
{
    SDeviceObjects& objects = Objects(render);
    render->SetIndexBuffer(objects.m_IndexBuffer.get());
    // The camera's axes in object space: rows of the inverse world-view.
    CMatrix world, view;
    std::memcpy(world.data(), render->GetTransform(TS_World), sizeof(world));
    std::memcpy(view.data(), render->GetTransform(TS_View), sizeof(view));
    const CMatrix m = MatrixInverse(MatrixMultiply(world, view));
    const SVec3 right{m[0], m[1], m[2]}, up{m[4], m[5], m[6]}, forward{m[8], m[9], m[10]};
    SVec3 corners[4], normals[4];
    for (int c = 0; c < 4; ++c) {
        corners[c] = right * kCorners[c].r + up * kCorners[c].u;
        normals[c] = Normalize(-forward + (corners[c] + forward) * m_roundness);
    }
    const SVec3 binormal = -up;
    const std::span<const SSized> records = Records<SSized>();
    Stream(
        render, m_count, m_RenderBufferQuads,
        [&](void* memory, int first, int n) {
            auto* out = static_cast<SVertexPNTBTC*>(memory);
            for (const SSized& r : records.subspan(size_t(first), size_t(n))) {
                for (int c = 0; c < 4; ++c) {
                    const SVec3& d = corners[c];
                    const SVec3 p{r.x + r.sx * d.x, r.y + r.sy * d.y, r.z + r.sz * d.z};
                    *out++ = Vertex(p, r.color, kCorners[c].tu, kCorners[c].tv, normals[c], right, binormal);
                }
            }
        },
        [&](int n) { render->DrawIndexedPrimitive(PT_TriangleStrip, 4 * n, 6 * n - 2, 0); });
}

void CRenderPoints::DrawCrossedQuads(CRender* render)
{
    SDeviceObjects& objects = Objects(render);
    render->SetIndexBuffer(objects.m_IndexBuffer.get());
    const std::span<const SSized> records = Records<SSized>();
    const SVec3 zero{};
    Stream(
        render, m_count, m_RenderBufferQuads / 3,
        [&](void* memory, int first, int n) {
            auto* out = static_cast<SVertexPNTBTC*>(memory);
            for (const SSized& r : records.subspan(size_t(first), size_t(n))) {
                // One quad in each axis plane through the point, corners in
                // the order (-a, +b), (-a, -b), (+a, +b), (+a, -b).
                const SVec3 planes[3][4] = {
                    {{r.x - r.sx, r.y + r.sy, r.z}, {r.x - r.sx, r.y - r.sy, r.z}, {r.x + r.sx, r.y + r.sy, r.z},
                     {r.x + r.sx, r.y - r.sy, r.z}},
                    {{r.x - r.sx, r.y, r.z + r.sz}, {r.x - r.sx, r.y, r.z - r.sz}, {r.x + r.sx, r.y, r.z + r.sz},
                     {r.x + r.sx, r.y, r.z - r.sz}},
                    {{r.x, r.y - r.sy, r.z + r.sz}, {r.x, r.y - r.sy, r.z - r.sz}, {r.x, r.y + r.sy, r.z + r.sz},
                     {r.x, r.y + r.sy, r.z - r.sz}},
                };
                for (const auto& quad : planes)
                    for (int c = 0; c < 4; ++c)
                        *out++ = Vertex(quad[c], r.color, kCorners[c].tu, kCorners[c].tv, zero, zero, zero);
            }
        },
        [&](int n) { render->DrawIndexedPrimitive(PT_TriangleStrip, 12 * n, 18 * n - 2, 0); });
}
