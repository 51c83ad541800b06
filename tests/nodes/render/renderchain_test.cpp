// The render chain nodes in scenes: the order in which steps draw, their
// viewports and cameras, and the rectangle's grid, through a render that
// notes its calls instead of drawing.

#include "nodes/nodetypes.h"
#include "nodes/render/renderobjectnode.h"
#include "nodes/render/renderrectnode.h"
#include "ports/types/dataports.h"
#include "render/fx.h"
#include "scene/nodedeclaration.h"
#include "scene/pdeffect.h"
#include "scene/pdobject.h"
#include "scene/renderlist.h"
#include "nodes/render/screennode.h"
#include "ports/port.h"
#include "render/render.h"
#include "scene/nodefactory.h"
#include "scene/scene.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace {

using Journal = std::vector<std::string>;

std::string Text(const char* format, double a, double b = 0, double c = 0, double d = 0)
{
    char text[128];
    snprintf(text, sizeof text, format, a, b, c, d);
    return text;
}

template <class TBase>
class CMemoryBuffer : public TBase
{
public:
    CMemoryBuffer(size_t bytes, int count, int flags, int format) : TBase(nullptr, count, flags, format), m_bytes(bytes) {}
    CMemoryBuffer(size_t bytes, int count, int flags) : TBase(nullptr, count, flags), m_bytes(bytes) {}
    void* Lock() override { return m_bytes.data(); }
    void Unlock() override {}
    std::vector<unsigned char> m_bytes;
};
using CMemoryVertexBuffer = CMemoryBuffer<CVertexBuffer>;
using CMemoryIndexBuffer = CMemoryBuffer<CIndexBuffer>;

// Buffers live in memory; clears, viewports, cameras and draws are noted.
class CJournalRender : public CRender
{
public:
    CJournalRender()
    {
        m_virtualRect = SRect{0, 0, 200, 100};
        m_currentRect = m_virtualRect;
    }
    void SetViewport(float x, float y, float w, float h) override
    {
        m_journal.push_back(Text("viewport %g %g %g %g", x, y, w, h));
    }
    void SetCamera(const CCamera& camera) override
    {
        CRender::SetCamera(camera);
        m_journal.push_back(Text("camera %g", camera.m_fov));
    }
    bool Clear(const float color[4], float, int flags) override
    {
        m_journal.push_back(Text("clear %g %g %g flags %g", color[0], color[1], color[2], flags));
        return true;
    }
    std::unique_ptr<CVertexBuffer> CreateVertexBuffer(int count, int flags, int format) override
    {
        if (m_noBuffers)
            return nullptr;
        return std::make_unique<CMemoryVertexBuffer>(size_t(count) * GetVertexFormat(format).stride, count, flags, format);
    }
    std::unique_ptr<CIndexBuffer> CreateIndexBuffer(int count, int flags) override
    {
        if (m_noBuffers)
            return nullptr;
        return std::make_unique<CMemoryIndexBuffer>(size_t(count) * IndexWidth(count), count, flags);
    }
    bool DrawIndexedPrimitive(int, int, int primitives, int) override
    {
        m_journal.push_back(Text("draw %g", primitives));
        return true;
    }

    Journal m_journal;
    bool m_noBuffers = false;
};

Journal* g_journal = nullptr;

// An effect that notes what the render list hands it.
class CJournalEffectNode : public CNode, public CPDEffect
{
public:
    void Update(float, CSceneContext*) override { m_out->m_value = this; }
    CFxPass* Begin() override
    {
        g_journal->push_back("begin");
        return &m_pass;
    }
    void BeginPass(CFxPass*) override {}
    CFxPass* NextPass(CFxPass*) override { return nullptr; }
    void EndPass(CFxPass*) override {}
    void End() override { g_journal->push_back("end"); }
    void SetColor(const float* rgba) override { g_journal->push_back(Text("color %g %g %g %g", rgba[0], rgba[1], rgba[2], rgba[3])); }
    void SetWorld(int, const float* m) override
    {
        // Rounded, so that sin(90 degrees) in float reads as the 0 it stands for.
        const auto round = [](float v) { return std::round(double(v) * 1000.0) / 1000.0 + 0.0; };
        g_journal->push_back(Text("x axis %g %g %g", round(m[0]), round(m[1]), round(m[2])));
        g_journal->push_back(Text("position %g %g %g", m[12], m[13], m[14]));
    }
    void CommitChanges(CRender*) override {}

    CPortEffect* m_out = nullptr;
    CFxPass m_pass;
};

// A drawable leaf that may carry another object below it, so that one list
// holds two objects.
class CJournalObjectNode : public CNode, public CPDObject
{
public:
    void Update(float time, CSceneContext*) override
    {
        UpdateInPorts(time);
        m_out->m_value = this;
    }
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* view) override
    {
        for (CRenderItem* parent : *parents)
            parent->m_children.PushBack(list->NewItem(parent->m_world, view, this, m_effect->m_value, parent->m_color));
        if (CNode* next = m_next->GetConnectedNode())
            next->BuildRenderList(list, parents, view);
    }
    void Draw(CRender*) override { g_journal->push_back("draw " + m_name); }

    CPortEffect* m_effect = nullptr;
    CPortObject* m_next = nullptr;
    CPortObject* m_out = nullptr;
};

class RenderChain : public ::testing::Test
{
protected:
    RenderChain() : m_factory(CNodeFactory::Get())
    {
        m_factory->Init(NodeTypes());
        m_effectInfo = CNodeDeclaration({Out(&CJournalEffectNode::m_out, "Effect", "")}).MakeInfo(NG_Effects, "TestJournalEffect", "");
        const CNodeDeclaration object = {
            In(&CJournalObjectNode::m_effect, "Effect", ""),
            In(&CJournalObjectNode::m_next, "Object", ""),
            Out(&CJournalObjectNode::m_out, "Object", ""),
        };
        m_objectInfo = object.MakeInfo(NG_Objects, "JournalObject", "");
        m_factory->Add(m_effectInfo.get());
        m_factory->Add(m_objectInfo.get());
        g_journal = &m_render.m_journal;
    }
    ~RenderChain() override
    {
        m_scene.InvalidateDevice(&m_render);
        g_journal = nullptr;
        m_factory->Release();
    }

    CNode* Add(const char* type)
    {
        CNode* node = m_scene.AddNode(type);
        EXPECT_NE(node, nullptr) << type;
        return node;
    }
    void Set(const std::string& path, const std::string& value)
    {
        std::string component;
        CPort* port = m_scene.FindInPort(path, &component);
        ASSERT_NE(port, nullptr) << path;
        // As an editor's command does.
        port->SetValue(value);
        port->m_changed = true;
    }
    void Frame()
    {
        m_scene.Update(1.0f / 30.0f, &m_render);
        m_render.m_journal.clear();
        m_scene.Draw(&m_render);
    }

    CNodeFactory* m_factory;
    std::unique_ptr<CNodeInfo> m_effectInfo;
    std::unique_ptr<CNodeInfo> m_objectInfo;
    CJournalRender m_render;
    CScene m_scene;
};

} // namespace

TEST_F(RenderChain, StepsDrawFromTheFarEndUnderTheirOwnViewportAndCamera)
{
    Add("Clear");
    Add("RenderObject");
    CNode* screen = Add("Screen");
    ASSERT_TRUE(m_scene.Connect("Clear1.Render", "RenderObject1.Render"));
    ASSERT_TRUE(m_scene.Connect("RenderObject1.Render", "Screen1.Render"));
    Set("Clear1.Color", "0.25 0.5 0.75 1");
    EXPECT_EQ(m_scene.GetRoot(), screen);
    Frame();
    // The object step's own list and the scene's list each put back the camera.
    EXPECT_EQ(m_render.m_journal, (Journal{"viewport 0 0 1 1", "camera 45", "clear 0.25 0.5 0.75 flags 3",
                                           "camera 45", "camera 45"}));

    // Two screens: the far one sets its viewport and camera when its turn
    // comes, and the list puts back the camera it found.
    CScene twoScreens;
    twoScreens.AddNode("Screen");
    twoScreens.AddNode("Screen");
    twoScreens.AddNode("Clear");
    ASSERT_TRUE(twoScreens.Connect("Clear1.Render", "Screen2.Render"));
    ASSERT_TRUE(twoScreens.Connect("Screen2.Render", "Screen1.Render"));
    std::string component;
    twoScreens.FindInPort("Screen1.CamFov", &component)->SetValue("60");
    twoScreens.FindInPort("Screen2.CamFov", &component)->SetValue("30");
    twoScreens.FindInPort("Screen2.Viewport", &component)->SetValue("0.5 0 0.5 1");
    twoScreens.Update(0.1f, &m_render);
    const float fovBeforeDraw = m_render.GetCamera()->m_fov;
    m_render.m_journal.clear();
    twoScreens.Draw(&m_render);
    EXPECT_EQ(m_render.m_journal, (Journal{"viewport 0 0 1 1", "camera 60", "viewport 0.5 0 0.5 1", "camera 30",
                                           "clear 0 0 0 flags 3", Text("camera %g", fovBeforeDraw)}));
}

TEST_F(RenderChain, ScreenCameraFollowsItsPorts)
{
    auto* screen = static_cast<CScreenNode*>(Add("Screen"));
    Set("Screen1.CamNear", "5");
    Set("Screen1.CamFar", "5");
    Set("Screen1.CamPos", "1 2 3");
    Set("Screen1.CamRot", "0 90 0");
    Frame();
    const CCamera& camera = screen->m_camera;
    EXPECT_FLOAT_EQ(camera.m_near, 5.0f);
    EXPECT_FLOAT_EQ(camera.m_far, 5.01f) << "equal planes are pulled apart";
    EXPECT_FLOAT_EQ(camera.m_eye.x, 1.0f);
    EXPECT_FLOAT_EQ(camera.m_eye.z, 3.0f);
    // Turned 90 degrees about y, the camera looks along +x and up stays up.
    EXPECT_NEAR(camera.m_forward.x, 1.0f, 1e-5f);
    EXPECT_NEAR(camera.m_forward.z, 0.0f, 1e-5f);
    EXPECT_NEAR(camera.m_up.y, 1.0f, 1e-5f);
    EXPECT_EQ(m_scene.GetContext().m_camera, &screen->m_camera);

    const CMatrix plain = camera.m_view;
    Set("Screen1.ScaleByAspect", "1");
    Frame();
    // The render is 200 x 100: the first row of the view is doubled.
    for (int column = 0; column < 4; ++column) {
        const float factor = column < 3 ? 2.0f : 1.0f;
        EXPECT_FLOAT_EQ(camera.m_view[size_t(column)], plain[size_t(column)] * factor) << column;
    }
    EXPECT_FLOAT_EQ(camera.m_view[5], plain[5]);
}

TEST_F(RenderChain, RectangleBuildsItsGridAndDrawsOnlyWithAnEffect)
{
    Add("Screen");
    Add("RenderRect");
    Add("Clear");
    ASSERT_TRUE(m_scene.Connect("Clear1.Render", "RenderRect1.Render"));
    ASSERT_TRUE(m_scene.Connect("RenderRect1.Render", "Screen1.Render"));
    Set("RenderRect1.TesselateW", "400");
    Set("RenderRect1.TesselateH", "400");
    Frame();
    // Without an effect nothing is drawn, but the step upstream still clears.
    EXPECT_EQ(m_render.m_journal, (Journal{"viewport 0 0 1 1", "camera 45", "clear 0 0 0 flags 3", "camera 45"}));

    auto* rect = static_cast<CRenderRectNode*>(m_scene.FindNode("RenderRect1"));
    const auto& objects = rect->dObjs[0];
    ASSERT_TRUE(objects.m_VertexBuffer && objects.m_IndexBuffer);
    EXPECT_EQ(objects.m_VertexBuffer->m_count, 401 * 401);
    EXPECT_EQ(objects.m_IndexBuffer->m_count, 960000);
    EXPECT_EQ(IndexWidth(objects.m_IndexBuffer->m_count), 4);
    const auto* vertices =
        reinterpret_cast<const SVertexPNTBTC*>(static_cast<CMemoryVertexBuffer*>(objects.m_VertexBuffer.get())->m_bytes.data());
    // v is 1 on the top row, at y = 1.
    EXPECT_FLOAT_EQ(vertices[0].position[0], -1.0f);
    EXPECT_FLOAT_EQ(vertices[0].position[1], 1.0f);
    EXPECT_FLOAT_EQ(vertices[0].uv[1], 1.0f);
    const SVertexPNTBTC& last = vertices[401 * 401 - 1];
    EXPECT_NEAR(last.position[0], 1.0f, 1e-4f);
    EXPECT_NEAR(last.position[1], -1.0f, 1e-4f);
    EXPECT_NEAR(last.uv[0], 1.0f, 1e-4f);
    EXPECT_NEAR(last.uv[1], 0.0f, 1e-4f);
    EXPECT_EQ(vertices[0].color, 0xFFFFFFFFu);
    EXPECT_FLOAT_EQ(vertices[0].normal[2], -1.0f);
    const auto* indices =
        reinterpret_cast<const uint32_t*>(static_cast<CMemoryIndexBuffer*>(objects.m_IndexBuffer.get())->m_bytes.data());
    // Triangles run counter-clockwise as seen, so that culled back faces keep the rectangle.
    EXPECT_EQ((std::vector<uint32_t>(indices, indices + 6)), (std::vector<uint32_t>{402, 0, 401, 0, 402, 1}));

    // A changed grid is made anew, with 16-bit indices when they suffice.
    Set("RenderRect1.TesselateW", "2");
    Set("RenderRect1.TesselateH", "1");
    Frame();
    EXPECT_EQ(objects.m_VertexBuffer->m_count, 6);
    EXPECT_EQ(objects.m_IndexBuffer->m_count, 12);
    const auto* small =
        reinterpret_cast<const uint16_t*>(static_cast<CMemoryIndexBuffer*>(objects.m_IndexBuffer.get())->m_bytes.data());
    EXPECT_EQ((std::vector<uint16_t>(small, small + 12)), (std::vector<uint16_t>{4, 0, 3, 0, 4, 1, 5, 1, 4, 1, 5, 2}));

    // No buffers from the device: the check line names the failed step.
    CLogCapture log;
    m_render.m_noBuffers = true;
    m_scene.InvalidateDevice(&m_render);
    m_scene.ForceRestore();
    Frame();
    EXPECT_TRUE(log.Contains("FAILED : \"!(objects->m_VertexBuffer = render->CreateVertexBuffer(vertexCount, 0, "
                             "VBF_PNTBTC))\" in \"nodes/render/renderrectnode\"("));
}

TEST_F(RenderChain, ObjectStepPlacesItsObjectsAndObjectsSharingAnEffectDrawInOneBatch)
{
    Add("Screen");
    Add("RenderObject");
    Add("JournalObject");
    Add("JournalObject");
    Add("TestJournalEffect");
    ASSERT_TRUE(m_scene.Connect("RenderObject1.Render", "Screen1.Render"));
    ASSERT_TRUE(m_scene.Connect("JournalObject1.Object", "RenderObject1.Object"));
    ASSERT_TRUE(m_scene.Connect("JournalObject2.Object", "JournalObject1.Object"));
    ASSERT_TRUE(m_scene.Connect("TestJournalEffect1.Effect", "JournalObject1.Effect"));
    ASSERT_TRUE(m_scene.Connect("TestJournalEffect1.Effect", "JournalObject2.Effect"));
    Set("RenderObject1.Pos", "1 2 3");
    Set("RenderObject1.Scale", "2 2 2");
    Set("RenderObject1.Rot", "0 0 90");
    Set("RenderObject1.Col", "0.5 0.25 1 1");
    Frame();
    // Scaled by 2, then turned 90 degrees about z: the x axis points along y.
    const Journal item = {"color 0.5 0.25 1 1", "x axis 0 2 0", "position 1 2 3"};
    Journal expected = {"viewport 0 0 1 1", "camera 45", "begin", "camera 45"};
    for (const char* name : {"JournalObject1", "JournalObject2"}) {
        expected.insert(expected.end(), item.begin(), item.end());
        expected.push_back(std::string("draw ") + name);
    }
    expected.insert(expected.end(), {"end", "camera 45", "camera 45"});
    EXPECT_EQ(m_render.m_journal, expected);
    auto* step = static_cast<CRenderObjectNode*>(m_scene.FindNode("RenderObject1"));
    EXPECT_EQ(step->m_list.GetBatchCount(), 1);
    EXPECT_EQ(step->m_list.GetBatchSize(0), 2);

    // The next frame reuses the same items.
    const int items = step->m_list.GetItemCount();
    Frame();
    EXPECT_EQ(step->m_list.GetItemCount(), items);
}
