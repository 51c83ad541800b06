// The primitive batchers on a render that keeps its buffers in memory and
// records each draw: how records are cut into chunks, which of the three
// buffers each chunk goes to, and the vertices each batcher expands.

#include "render/rendergrass.h"
#include "render/renderlines.h"
#include "render/renderpoints.h"
#include "render/renderquads.h"
#include "render/rendervolumelines.h"
#include "ports/port.h"
#include "scene/node.h"
#include "scene/renderlist.h"

#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

namespace {

// A buffer in memory; TBase is CVertexBuffer or CIndexBuffer.
template <class TBase>
class CMemory : public TBase
{
public:
    template <class... TArgs>
    CMemory(size_t bytes, TArgs... args) : TBase(nullptr, args...), m_bytes(bytes)
    {
    }
    void* Lock() override { return m_bytes.data(); }
    void Unlock() override {}
    int At(int i) const
    {
        if (IndexWidth(this->m_count) == 2)
            return reinterpret_cast<const uint16_t*>(m_bytes.data())[i];
        return int(reinterpret_cast<const uint32_t*>(m_bytes.data())[i]);
    }
    std::vector<unsigned char> m_bytes;
};
using CMemoryVertices = CMemory<CVertexBuffer>;
using CMemoryIndices = CMemory<CIndexBuffer>;

struct SDraw
{
    int kind, vertices, primitives;
    bool indexed;
    CVertexBuffer* buffer;
    std::vector<SVertexPNTBTC> quadVertices; // for 64-byte formats
};

class CRecordingRender : public CRender
{
public:
    CRecordingRender() { m_data = std::make_unique<CRenderData>(); }
    std::unique_ptr<CVertexBuffer> CreateVertexBuffer(int count, int, int format) override
    {
        if (m_fail)
            return nullptr;
        return std::make_unique<CMemoryVertices>(size_t(count * GetVertexFormat(format).stride), count, VBF_DYNAMIC,
                                                 format);
    }
    std::unique_ptr<CIndexBuffer> CreateIndexBuffer(int count, int) override
    {
        return std::make_unique<CMemoryIndices>(size_t(count * IndexWidth(count)), count, 0);
    }
    bool DrawPrimitive(int kind, int, int primitives) override { return Record(kind, 0, primitives, false); }
    bool DrawIndexedPrimitive(int kind, int vertices, int primitives, int) override
    {
        return Record(kind, vertices, primitives, true);
    }

    bool Record(int kind, int vertices, int primitives, bool indexed)
    {
        SDraw draw{kind, vertices, primitives, indexed, m_currentVertexBuffer, {}};
        if (m_currentVertexBuffer->m_format == VBF_PNTBTC) {
            const int n = indexed ? vertices : PrimitiveVertexCount(kind, primitives);
            draw.quadVertices.resize(size_t(n));
            std::memcpy(draw.quadVertices.data(), static_cast<CMemoryVertices*>(m_currentVertexBuffer)->m_bytes.data(),
                        size_t(n) * sizeof(SVertexPNTBTC));
        }
        m_draws.push_back(std::move(draw));
        return true;
    }

    bool m_fail = false;
    std::vector<SDraw> m_draws;
};

void ExpectNear(const float* actual, const SVec3& expected, const char* what)
{
    EXPECT_NEAR(actual[0], expected.x, 1e-3f) << what;
    EXPECT_NEAR(actual[1], expected.y, 1e-3f) << what;
    EXPECT_NEAR(actual[2], expected.z, 1e-3f) << what;
}

float Distance(const float* a, const float* b)
{
    return std::sqrt((a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]));
}

int BufferIndex(const CRenderBatcher& batcher, const CVertexBuffer* buffer)
{
    for (int i = 0; i < CRenderBatcher::BufferCount; ++i)
        if (batcher.dObjs[0].m_VertexBuffer[size_t(i)].get() == buffer)
            return i;
    return -1;
}

} // namespace

TEST(Batchers, LinesAreCutIntoChunksThatGoToTheThreeBuffersInTurn)
{
    struct SCase
    {
        int lines;
        std::vector<int> chunks;
        std::vector<int> buffers;
    } cases[] = {{0, {}, {}}, {1000, {1000}, {0}}, {1001, {1000, 1}, {0, 1}}, {3500, {1000, 1000, 1000, 500}, {0, 1, 2, 0}}};
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.lines);
        CRecordingRender render;
        CRenderLines lines;
        ASSERT_TRUE(lines.RestoreDevice(&render));
        const float color[4] = {1, 0, 0, 1};
        for (int i = 0; i < c.lines; ++i)
            lines.AddLine({float(i), 0, 0}, {float(i), 1, 0}, color);
        lines.Draw(&render);
        ASSERT_EQ(render.m_draws.size(), c.chunks.size());
        for (size_t i = 0; i < c.chunks.size(); ++i) {
            EXPECT_EQ(render.m_draws[i].kind, PT_Lines);
            EXPECT_EQ(render.m_draws[i].primitives, c.chunks[i]);
            EXPECT_EQ(BufferIndex(lines, render.m_draws[i].buffer), c.buffers[i]);
        }
        if (c.lines == 1001) {
            // The second chunk starts with the 1001st line: its end, then its start.
            const SVertexPNTBTC& end = render.m_draws[1].quadVertices[0];
            const SVertexPNTBTC& start = render.m_draws[1].quadVertices[1];
            ExpectNear(end.position, {1000, 1, 0}, "end");
            ExpectNear(start.position, {1000, 0, 0}, "start");
            EXPECT_EQ(end.color, 0xFF0000FFu);
            EXPECT_EQ(end.uv[0], 0.0f);
            EXPECT_EQ(start.uv[0], 1.0f);
            EXPECT_EQ(start.uv[1], 0.5f);
            ExpectNear(end.normal, {0, 0, -1}, "normal");
            ExpectNear(end.binormal, {0, -1, 0}, "binormal");
        }
    }
}

TEST(Batchers, PointPrimitivesChunkByTheirOwnCapacities)
{
    struct SCase
    {
        const char* name;
        int primitive, records, kind;
        std::vector<int> primitives;
    } cases[] = {
        {"points", CRenderPoints::Point, 10001, PT_Points, {10000, 1}},
        {"lines", CRenderPoints::Line, 5001, PT_Lines, {5000, 1}},
        {"sprites", CRenderPoints::PointSprite, 20000, PT_PointSprites, {10000, 10000}},
        {"billboards", CRenderPoints::Texture, 601, PT_TriangleStrip, {6 * 600 - 2, 6 - 2}},
        {"crossed quads", CRenderPoints::AxisTexture, 201, PT_TriangleStrip, {18 * 200 - 2, 18 - 2}},
        {"objects", CRenderPoints::Object, 10, 0, {}},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.name);
        CRecordingRender render;
        CRenderPoints points;
        points.SetPrimitive(c.primitive, c.records);
        ASSERT_TRUE(points.RestoreDevice(&render));
        EXPECT_EQ(points.dObjs[0].m_VertexBuffer[0] == nullptr, c.primitive == CRenderPoints::Object);
        CRenderList list;
        // A count of 0 means the whole capacity.
        points.AddToRenderList(&list, &list.GetRootList(), nullptr, nullptr, nullptr, 0);
        points.Draw(&render);
        ASSERT_EQ(render.m_draws.size(), c.primitives.size());
        for (size_t i = 0; i < c.primitives.size(); ++i) {
            EXPECT_EQ(render.m_draws[i].kind, c.kind);
            EXPECT_EQ(render.m_draws[i].primitives, c.primitives[i]);
            EXPECT_EQ(BufferIndex(points, render.m_draws[i].buffer), int(i));
        }
    }
}

TEST(Batchers, QuadIndexBuffersJoinQuadsIntoOneStrip)
{
    CRecordingRender render;
    CRenderPoints points;
    points.SetPrimitive(CRenderPoints::Texture, 1);
    ASSERT_TRUE(points.RestoreDevice(&render));
    CRenderVolumeLines lines;
    ASSERT_TRUE(lines.RestoreDevice(&render));
    const auto* pointIndices = static_cast<CMemoryIndices*>(points.dObjs[0].m_IndexBuffer.get());
    const auto* lineIndices = static_cast<CMemoryIndices*>(lines.dObjs[0].m_IndexBuffer.get());
    const int quad1Points[] = {4, 5, 6, 7, 7, 8};
    const int quad1Lines[] = {4, 6, 5, 7, 7, 8};
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(pointIndices->At(6 + i), quad1Points[i]) << i;
        EXPECT_EQ(lineIndices->At(6 + i), quad1Lines[i]) << i;
    }
}

TEST(Batchers, BillboardsAndCrossedQuadsExpandAroundTheirPoint)
{
    CRecordingRender render;
    CRenderPoints points;
    points.SetPrimitive(CRenderPoints::Texture, 1);
    points.Records<CRenderPoints::SSized>()[0] = {1, 2, 3, 0xFF00FF00u, 0.5f, 0.25f, 1};
    ASSERT_TRUE(points.RestoreDevice(&render));
    CRenderList list;
    // A camera turned 90 degrees about y: right is -z, up is y, forward is x.
    CCamera camera;
    camera.LookAt({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    render.SetTransform(TS_View, camera.m_view.data());
    for (float roundness : {0.0f, 1.0f}) {
        SCOPED_TRACE(roundness);
        render.m_draws.clear();
        points.m_roundness = roundness;
        points.AddToRenderList(&list, &list.GetRootList(), nullptr, nullptr, nullptr, 1);
        points.Draw(&render);
        ASSERT_EQ(render.m_draws.size(), 1u);
        const std::vector<SVertexPNTBTC>& v = render.m_draws[0].quadVertices;
        ExpectNear(v[0].position, {1, 2 - 0.25f, 3 + 1}, "bottom left");
        ExpectNear(v[3].position, {1, 2 + 0.25f, 3 - 1}, "top right");
        EXPECT_EQ(v[3].uv[0], 1.0f);
        EXPECT_EQ(v[2].uv[1], 1.0f);
        ExpectNear(v[0].tangent, {0, 0, -1}, "tangent");
        ExpectNear(v[0].binormal, {0, -1, 0}, "binormal");
        const float s = std::sqrt(0.5f);
        ExpectNear(v[0].normal, roundness == 0 ? SVec3{-1, 0, 0} : SVec3{0, -s, s}, "normal");
    }

    points.SetPrimitive(CRenderPoints::AxisTexture, 1);
    ASSERT_TRUE(points.RestoreDevice(&render));
    render.m_draws.clear();
    points.Draw(&render);
    ASSERT_EQ(render.m_draws.size(), 1u);
    const std::vector<SVertexPNTBTC>& v = render.m_draws[0].quadVertices;
    ASSERT_EQ(v.size(), 12u);
    ExpectNear(v[0].position, {0.5f, 2.25f, 3}, "z plane");
    ExpectNear(v[7].position, {1.5f, 2, 2}, "y plane");
    ExpectNear(v[9].position, {1, 1.75f, 2}, "x plane");
    ExpectNear(v[9].normal, {0, 0, 0}, "no frame");
}

TEST(Batchers, ObjectsAreDrawnOncePerRecordColouredAndPlacedByIt)
{
    class CCountingObject : public CNode
    {
    public:
        void BuildRenderList(CRenderList*, CRenderItemList* parents, CCamera*) override
        {
            for (CRenderItem* item : *parents)
                m_items.push_back(item);
        }
        std::vector<CRenderItem*> m_items;
    } object;
    CRenderPoints points;
    points.SetPrimitive(CRenderPoints::Object, 3);
    const auto records = points.Records<CRenderPoints::SSized>();
    records[0] = {1, 2, 3, 0xFF0000FFu, 2, 2, 2};
    records[1] = {4, 5, 6, 0xFFFF0000u, 1, 1, 1};
    CRenderList list;
    list.GetRoot()->m_color = {0.5f, 1, 1, 1};
    points.AddToRenderList(&list, &list.GetRootList(), nullptr, nullptr, &object, 2);
    ASSERT_EQ(object.m_items.size(), 2u);
    EXPECT_EQ(list.GetRoot()->m_children.Size(), 2u);
    EXPECT_FLOAT_EQ(object.m_items[0]->m_color[0], 0.5f);
    EXPECT_FLOAT_EQ(object.m_items[1]->m_color[2], 1.0f);
    EXPECT_FLOAT_EQ(object.m_items[0]->m_world[0], 2.0f);
    EXPECT_FLOAT_EQ(object.m_items[1]->m_world[13], 5.0f);
}

TEST(Batchers, VolumeLinesFaceTheViewerWithTheirWidths)
{
    CRenderVolumeLines lines;
    CCamera camera; // at the origin, looking along +z
    struct SCase
    {
        const char* name;
        std::vector<SVec3> points;
        float width;
    } cases[] = {
        {"two points", {{0, 0, 5}, {1, 0, 5}}, 0.2f},
        {"bent", {{0, 0, 5}, {1, 0, 5}, {1, 1, 5}}, 0.5f},
        {"towards the viewer", {{1, 0, 9}, {1, 0, 7}, {1, 0, 5}}, 0.3f},
        {"two equal points", {{1, 1, 5}, {1, 1, 5}}, 0.3f},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.name);
        lines.Reset();
        CRenderVolumeLines::SVertex* v = lines.AddPolyline(int(c.points.size()));
        for (size_t i = 0; i < c.points.size(); ++i)
            v[i] = {c.points[i].x, c.points[i].y, c.points[i].z, 0xFFFFFFFFu, c.width, float(i)};
        lines.BuildQuads(camera);
        ASSERT_EQ(lines.GetQuadCount(), int(c.points.size()) - 1);
        for (int q = 0; q < lines.GetQuadCount(); ++q) {
            const SQuad& quad = lines.GetQuads()[q];
            for (int k = 0; k < 4; ++k)
                for (float f : quad.v[k].position)
                    EXPECT_TRUE(std::isfinite(f));
            if (c.points[0].x != c.points[1].x || c.points[0].z != c.points[1].z) {
                EXPECT_NEAR(Distance(quad.v[0].position, quad.v[1].position), c.width, 0.01f) << q;
                EXPECT_EQ(quad.v[1].uv[0], 1.0f);
                EXPECT_EQ(quad.v[2].uv[1], float(q + 1));
            }
        }
    }
}

TEST(Batchers, RibbonsAreSplitIntoTheirSectionsAtTheirWidth)
{
    struct SCase
    {
        int across, along, quads;
    } cases[] = {{1, 1, 1}, {0, 0, 1}, {2, 3, 6}, {1, 4, 4}};
    for (const SCase& c : cases) {
        SCOPED_TRACE(testing::Message() << c.across << " x " << c.along);
        CRenderQuads quads;
        quads.Resize(c.quads + 1);
        SQuad* end = CRenderQuads::AddRibbon(quads.GetQuads(), {0, 0, 0}, {0, 2, 0}, 0.5f, 0xFFFFFFFFu, c.across,
                                             c.along, 2, 3);
        ASSERT_EQ(end - quads.GetQuads(), c.quads);
        const SQuad& first = quads.GetQuads()[0];
        const SQuad& last = quads.GetQuads()[c.quads - 1];
        // The strip runs along y: its width lies along x, from -0.25 to 0.25.
        ExpectNear(first.v[0].position, {0.25f, 0, 0}, "first corner");
        ExpectNear(last.v[3].position, {-0.25f, 2, 0}, "last corner");
        EXPECT_FLOAT_EQ(last.v[3].uv[0], 2.0f);
        EXPECT_FLOAT_EQ(last.v[3].uv[1], 3.0f);
        ExpectNear(first.v[0].normal, {0, 0, -1}, "normal");
    }
}

TEST(Batchers, GrassExpandsEachStrawIntoACurvedStrip)
{
    CRecordingRender render;
    CRenderGrass grass;
    grass.m_segments = 3;
    grass.m_topWidthFactor = 0.5f;
    ASSERT_TRUE(grass.RestoreDevice(&render));
    // M = min(5500 / 10, 5000 / 8) = 550 straws of 8 vertices a buffer.
    EXPECT_EQ(grass.dObjs[0].m_VertexBuffer[0]->m_count, 550 * 8);
    EXPECT_EQ(grass.dObjs[0].m_IndexBuffer->m_count, 550 * 10);
    const auto* indices = static_cast<CMemoryIndices*>(grass.dObjs[0].m_IndexBuffer.get());
    const int joined[] = {0, 1, 2, 3, 4, 5, 6, 7, 7, 8, 8, 9};
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(indices->At(i), joined[i]) << i;

    CRenderGrass::CGroup* group = grass.AddGroup();
    CRenderGrass::SStraw straw{};
    const float p1[3] = {0, 0, 0}, p2[3] = {0, 1, 0}, p3[3] = {0, 2, 0}, side[3] = {1, 0, 0}, color[4] = {0, 1, 0, 1};
    std::memcpy(straw.p1, p1, sizeof p1);
    std::memcpy(straw.p2, p2, sizeof p2);
    std::memcpy(straw.p3, p3, sizeof p3);
    std::memcpy(straw.side, side, sizeof side);
    std::memcpy(straw.color, color, sizeof color);
    straw.baseWidth = 0.2f;
    group->assign(551, straw);
    grass.Draw(&render);
    ASSERT_EQ(render.m_draws.size(), 2u);
    EXPECT_EQ(render.m_draws[0].primitives, 550 * 10 - 2);
    EXPECT_EQ(render.m_draws[1].primitives, 10 - 2);
    const std::vector<SVertexPNTBTC>& v = render.m_draws[1].quadVertices;
    ExpectNear(v[0].position, {0.1f, 2, 0}, "top, half width");
    ExpectNear(v[7].position, {-0.2f, 0, 0}, "root");
    // t = 1/3: (p1 + w) t^2 + (p2 + w) 2tq + (p3 + wT) q^2.
    ExpectNear(v[2].position, {0.2f / 9 + 0.2f * 4 / 9 + 0.1f * 4 / 9, 4.0f / 9 + 8.0f / 9, 0}, "first inner");
    EXPECT_FLOAT_EQ(v[2].uv[1], 1.0f / 9 + 2.0f / 9);
    EXPECT_EQ(v[0].color, 0xFF00FF00u);
}

TEST(Batchers, ABufferThatCannotBeMadeIsLoggedAndRestoreFails)
{
    CLogCapture log;
    CRecordingRender render;
    render.m_fail = true;
    CRenderLines lines;
    EXPECT_FALSE(lines.RestoreDevice(&render));
    EXPECT_TRUE(log.Contains("!(dObjs->m_VertexBuffer[i] = render->CreateVertexBuffer(2*m_RenderBufferLines, "
                             "VBF_DYNAMIC, VBF_PNTBTC))"));
    EXPECT_TRUE(log.Contains("renderlines"));
    // Nothing is drawn without buffers, and nothing breaks.
    const float color[4] = {1, 1, 1, 1};
    lines.AddLine({0, 0, 0}, {1, 1, 1}, color);
    lines.Draw(&render);
    EXPECT_TRUE(render.m_draws.empty());
}
