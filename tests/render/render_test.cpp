#include "render/render.h"
#include "render/renderstateguard.h"

#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

// Buffers in memory and a record of draws, so the device-free logic of the
// render can be checked without a context.
class CMemoryVertexBuffer : public CVertexBuffer
{
public:
    CMemoryVertexBuffer(int count, int format, int& live)
        : CVertexBuffer(nullptr, count, 0, format), m_bytes(count * GetVertexFormat(format).stride), m_live(live)
    {
        ++m_live;
    }
    ~CMemoryVertexBuffer() override { --m_live; }
    void* Lock() override { return m_bytes.data(); }
    void Unlock() override {}

    std::vector<unsigned char> m_bytes;
    int& m_live;
};

struct SDraw
{
    int kind, first, count;
    CVertexBuffer* buffer;
};

class CFakeRender : public CRender
{
public:
    CFakeRender() { m_data = std::make_unique<CRenderData>(); }
    ~CFakeRender() override { ReleaseQuad(); }

    void SetViewport(float, float, float, float) override {}
    std::unique_ptr<CVertexBuffer> CreateVertexBuffer(int count, int, int format) override
    {
        if (m_failCreate)
            return nullptr;
        return std::make_unique<CMemoryVertexBuffer>(count, format, m_liveBuffers);
    }
    std::unique_ptr<CIndexBuffer> CreateIndexBuffer(int, int) override { return nullptr; }
    bool Clear(const float*, float, int) override { return true; }
    bool DrawPrimitive(int kind, int first, int primitives) override
    {
        m_draws.push_back({kind, first, primitives, m_currentVertexBuffer});
        return true;
    }
    bool DrawIndexedPrimitive(int, int, int, int) override { return true; }

    bool m_failCreate = false;
    int m_liveBuffers = 0;
    std::vector<SDraw> m_draws;
};

struct SQuadVertexView
{
    float x, y, z;
    uint32_t color;
    float u, v;
    float normal[3];
};

SQuadVertexView VertexAt(CVertexBuffer* buffer, int i)
{
    SQuadVertexView out;
    std::memcpy(&out, static_cast<CMemoryVertexBuffer*>(buffer)->m_bytes.data() + i * 64, sizeof out);
    return out;
}

} // namespace

TEST(RenderTypes, VertexFormatsAndCounts)
{
    struct SCase
    {
        int format, stride, count;
        int colorIndex, colorOffset;
    } cases[] = {{VBF_PNTC, 36, 4, 3, 32}, {VBF_PC, 16, 2, 3, 12}, {VBF_PNTBTC, 64, 6, 3, 12}, {VBF_PCS, 20, 3, 3, 12}};
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.format);
        const SVertexFormat& f = GetVertexFormat(c.format);
        EXPECT_EQ(f.stride, c.stride);
        ASSERT_EQ(f.attributeCount, c.count);
        int end = 0;
        for (int i = 0; i < f.attributeCount; ++i) {
            const SVertexAttribute& a = f.attributes[i];
            const int size = a.isColor ? 4 : a.components * 4;
            EXPECT_EQ(a.isColor, a.index == c.colorIndex);
            if (a.isColor) {
                EXPECT_EQ(a.offset, c.colorOffset);
            }
            end = std::max(end, a.offset + size);
        }
        EXPECT_LE(end, f.stride);
    }
    // The tangent frame format pads to 64 bytes after the binormal at 48.
    EXPECT_EQ(GetVertexFormat(VBF_PNTBTC).attributes[5].index, 15);
    EXPECT_EQ(GetVertexFormat(VBF_PNTBTC).attributes[5].offset, 48);
    EXPECT_EQ(GetVertexFormat(0).stride, 0);
    EXPECT_EQ(GetVertexFormat(5).stride, 0);

    const int counts[][3] = {{PT_Points, 7, 7},        {PT_Lines, 7, 14},         {PT_LineStrip, 7, 8},
                             {PT_Triangles, 7, 21},    {PT_TriangleStrip, 7, 9},  {PT_PointSprites, 7, 7},
                             {0, 7, 0}};
    for (const auto& c : counts) {
        SCOPED_TRACE(c[0]);
        EXPECT_EQ(PrimitiveVertexCount(c[0], c[1]), c[2]);
    }

    EXPECT_EQ(IndexWidth(65534), 2);
    EXPECT_EQ(IndexWidth(65535), 4);
    EXPECT_EQ(PackColor(1, 0, 0, 1), 0xFF0000FFu);
    EXPECT_EQ(PackColor(2, -1, 0.5f, 0), 0x007F00FFu);
}

TEST(Render, ViewportAspectAndTransforms)
{
    const SRect window{0, 0, 1280, 720};
    EXPECT_EQ(CRender::ViewportPixels(window, 0, 0, 1, 1), (SViewport{0, 0, 1280, 720}));
    EXPECT_EQ(CRender::ViewportPixels(window, 0.5f, 0, 0.75f, 1), (SViewport{640, 0, 640, 720}));
    EXPECT_EQ(CRender::ViewportPixels(SRect{0, 0, 101, 51}, 0.5f, 0.5f, 0.5f, 0.5f), (SViewport{50, 25, 50, 25}));

    CFakeRender render;
    EXPECT_FLOAT_EQ(render.GetAspect(), 1.7777778f);
    render.m_virtualRect = SRect{0, 0, 1024, 0};
    EXPECT_FLOAT_EQ(render.GetAspect(), 1.7777778f);
    render.m_virtualRect = SRect{100, 0, 900, 600};
    EXPECT_FLOAT_EQ(render.GetAspect(), 800.0f / 600.0f);

    CMatrix world = MatrixIdentity();
    world[12] = 3;
    CMatrix other = MatrixIdentity();
    other[0] = 9;
    render.SetTransform(TS_World, world.data());
    render.SetTransform(TS_Projection, other.data());
    EXPECT_EQ(render.GetTransform(TS_World)[12], 3);
    EXPECT_EQ(render.GetTransform(TS_Projection)[12], 3); // every kind but view gives world
    EXPECT_EQ(render.GetProjection()[0], 1);               // the projection only comes from SetCamera

    render.m_currentRect = render.m_virtualRect;
    CCamera camera;
    camera.LookAt({0, 0, -5}, {0, 0, 0}, {0, 1, 0});
    render.SetCamera(camera);
    EXPECT_FLOAT_EQ(render.GetTransform(TS_View)[14], 5.0f);
    EXPECT_FLOAT_EQ(render.GetCamera()->m_eye.z, -5.0f);
    const float windowY = render.GetProjection()[5];
    EXPECT_GT(windowY, 0.0f);

    // Inside a framebuffer the same camera flips y.
    render.GetRenderData()->m_boundFramebuffer = 7;
    render.SetCamera(camera);
    EXPECT_FLOAT_EQ(render.GetProjection()[5], -windowY);
}

TEST(Render, StateManagerResetAndDerivedState)
{
    CRenderData data;
    CRenderStateManager manager(&data);
    manager.m_states.m_flags = RS_AlphaTest;
    manager.m_states.m_cullMode = 0;
    manager.Reset();
    EXPECT_EQ(manager.m_states.m_flags, 6);
    EXPECT_EQ(manager.m_states.m_srcBlend, 1);
    EXPECT_EQ(manager.m_states.m_dstBlend, 0);
    EXPECT_EQ(manager.m_states.m_cullMode, 2);
    EXPECT_FALSE(CRenderStateManager::BlendEnabled(manager.m_states));

    CRenderStates states;
    states.m_srcBlend = 0;
    states.m_dstBlend = 1;
    EXPECT_TRUE(CRenderStateManager::BlendEnabled(states));

    EXPECT_TRUE(CRenderStateManager::FrontFaceClockwise(1, false));
    EXPECT_FALSE(CRenderStateManager::FrontFaceClockwise(2, false));
    EXPECT_FALSE(CRenderStateManager::FrontFaceClockwise(1, true));
    EXPECT_TRUE(CRenderStateManager::FrontFaceClockwise(2, true));
}

// A detour that draws elsewhere leaves the render as it found it.
TEST(Render, StateGuardGivesBackCameraRectanglesAndStates)
{
    CFakeRender render;
    CRenderData* data = render.GetRenderData();
    data->SetStateManager(std::make_unique<CRenderStateManager>(data));
    data->GetStateManager()->Reset();
    render.m_virtualRect = SRect{0, 0, 1920, 1080};
    render.m_currentRect = SRect{0, 0, 960, 1080};
    CCamera camera;
    camera.LookAt({0, 0, -5}, {0, 0, 0}, {0, 1, 0});
    render.SetCamera(camera);
    const CMatrix projection = render.GetProjection();
    {
        CRenderStateGuard guard(render);
        render.m_virtualRect = render.m_currentRect = SRect{0, 0, 64, 32};
        CCamera other;
        other.m_projection = CCamera::Orthographic;
        render.SetCamera(other);
        CRenderStates& states = data->GetStateManager()->m_states;
        states.m_flags = RS_AlphaTest;
        states.m_srcBlend = BF_SrcAlpha;
        states.m_dstBlend = BF_InvSrcAlpha;
        states.m_cullMode = 0;
    }
    EXPECT_EQ(render.m_virtualRect, (SRect{0, 0, 1920, 1080}));
    EXPECT_EQ(render.m_currentRect, (SRect{0, 0, 960, 1080}));
    EXPECT_FLOAT_EQ(render.GetCamera()->m_eye.z, -5.0f);
    EXPECT_EQ(render.GetProjection(), projection);
    const CRenderStates& states = data->GetStateManager()->m_states;
    EXPECT_EQ(states.m_flags, RS_DepthTest | RS_DepthWrite);
    EXPECT_EQ(states.m_srcBlend, BF_One);
    EXPECT_EQ(states.m_dstBlend, BF_Zero);
    EXPECT_EQ(states.m_cullMode, 2);
}

TEST(Render, FullScreenQuad)
{
    CFakeRender render;
    ASSERT_TRUE(render.DrawFullScreenQuad());
    ASSERT_EQ(render.m_draws.size(), 1u);
    EXPECT_EQ(render.m_draws[0].kind, PT_Triangles);
    EXPECT_EQ(render.m_draws[0].count, 2);
    CVertexBuffer* upright = render.dObjs[0].m_VertexBuffer.get();
    CVertexBuffer* upsideDown = render.dObjs[0].m_VertexBufferUpsideDown.get();
    EXPECT_EQ(render.m_draws[0].buffer, upright);
    EXPECT_EQ(upright->m_format, VBF_PNTBTC);
    EXPECT_EQ(upright->m_count, 6);

    const float expected[6][4] = {{-1, -1, 0, 1}, {-1, 1, 0, 0}, {1, 1, 1, 0}, {1, 1, 1, 0}, {1, -1, 1, 1}, {-1, -1, 0, 1}};
    for (int i = 0; i < 6; ++i) {
        const SQuadVertexView a = VertexAt(upright, i);
        const SQuadVertexView b = VertexAt(upsideDown, i);
        EXPECT_EQ(a.x, expected[i][0]);
        EXPECT_EQ(a.y, expected[i][1]);
        EXPECT_EQ(a.u, expected[i][2]);
        EXPECT_EQ(a.v, expected[i][3]);
        EXPECT_EQ(b.v, 1 - expected[i][3]);
        EXPECT_EQ(a.color, 0xFFFFFFFFu);
        EXPECT_EQ(a.normal[2], -1.0f);
    }

    // Into a framebuffer the upside-down buffer is drawn; the buffers are made once.
    render.GetRenderData()->m_boundFramebuffer = 3;
    ASSERT_TRUE(render.DrawFullScreenQuad());
    EXPECT_EQ(render.m_draws[1].buffer, upsideDown);
    EXPECT_EQ(render.m_liveBuffers, 2);
}

TEST(Render, FullScreenQuadFailureIsLoggedAndDrawsNothing)
{
    CLogCapture log;
    CFakeRender render;
    render.m_failCreate = true;
    EXPECT_FALSE(render.DrawFullScreenQuad());
    EXPECT_TRUE(render.m_draws.empty());
    EXPECT_TRUE(log.Contains("FAILED : \"!(objects->m_VertexBuffer = CreateVertexBuffer(6, 0, VBF_PNTBTC))\" in \"render/render\"("));
}
