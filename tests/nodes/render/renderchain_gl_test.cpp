// The render chain on a real context: a cleared target and a rectangle drawn
// through an effect give known pixels.

#include "nodes/nodetypes.h"
#include "nodes/render/renderrectnode.h"
#include "ports/port.h"
#include "support/glfixture.h"
#include "scene/nodefactory.h"
#include "scene/scene.h"
#include "support/testeffectnode.h"

namespace {

class RenderChainGL : public CGLRenderTest
{
protected:
    void SetUp() override
    {
        CGLRenderTest::SetUp();
        m_factory = CNodeFactory::Get();
        m_factory->Init(NodeTypes());
        m_effectType = std::make_unique<CTestEffectNode::CType>();
        m_scene = std::make_unique<CScene>();
    }
    void TearDown() override
    {
        m_scene->InvalidateDevice(m_render.get());
        m_scene.reset();
        m_effectType.reset();
        m_factory->Release();
        CGLRenderTest::TearDown();
    }

    void Set(const std::string& path, const std::string& value)
    {
        std::string component;
        CPort* port = m_scene->FindInPort(path, &component);
        ASSERT_NE(port, nullptr) << path;
        port->SetValue(value);
        port->m_changed = true;
    }

    // Blue clear, then a red rectangle in the left half of the target.
    void BuildClearAndRect()
    {
        for (const char* type : {"Screen", "RenderRect", "Clear", "TestEffect"})
            ASSERT_NE(m_scene->AddNode(type), nullptr) << type;
        ASSERT_TRUE(m_scene->Connect("Clear1.Render", "RenderRect1.Render"));
        ASSERT_TRUE(m_scene->Connect("RenderRect1.Render", "Screen1.Render"));
        ASSERT_TRUE(m_scene->Connect("TestEffect1.Effect", "RenderRect1.Effect"));
        Set("Clear1.Color", "0 0 1 1");
        Set("TestEffect1.Shader", SolidColorEffect("1, 0, 0, 1"));
        Set("Screen1.Viewport", "0 0 0.5 1");
    }

    void DrawFrame()
    {
        m_scene->Update(1.0f / 30.0f, m_render.get());
        m_scene->Draw(m_render.get());
    }

    CNodeFactory* m_factory = nullptr;
    std::unique_ptr<CTestEffectNode::CType> m_effectType;
    std::unique_ptr<CScene> m_scene;
};

using Rgb = std::array<int, 3>;

} // namespace

TEST_F(RenderChainGL, ClearAndRectangleThroughAnEffectGiveKnownPixels)
{
    BuildClearAndRect();
    DrawFrame();
    ASSERT_TRUE(static_cast<CTestEffectNode*>(m_scene->FindNode("TestEffect1"))->HasTechnique());
    EXPECT_EQ(RgbAt(2, 2), (Rgb{255, 0, 0}));
    EXPECT_EQ(RgbAt(14, 13), (Rgb{255, 0, 0}));
    EXPECT_EQ(RgbAt(17, 2), (Rgb{0, 0, 255})) << "outside the viewport only the clear shows";
    EXPECT_EQ(RgbAt(30, 14), (Rgb{0, 0, 255}));

    // A fine grid covers exactly the same pixels.
    Set("RenderRect1.TesselateW", "400");
    Set("RenderRect1.TesselateH", "400");
    DrawFrame();
    EXPECT_EQ(static_cast<CRenderRectNode*>(m_scene->FindNode("RenderRect1"))->dObjs[0].m_IndexBuffer->m_count, 960000);
    EXPECT_EQ(RgbAt(2, 2), (Rgb{255, 0, 0}));
    EXPECT_EQ(RgbAt(15, 8), (Rgb{255, 0, 0}));
    EXPECT_EQ(RgbAt(16, 8), (Rgb{0, 0, 255}));
}

TEST_F(RenderChainGL, DeviceLossAndForcedRestoreRemakeWhatTheNodesDraw)
{
    BuildClearAndRect();
    DrawFrame();
    m_scene->InvalidateDevice(m_render.get());
    auto* rect = static_cast<CRenderRectNode*>(m_scene->FindNode("RenderRect1"));
    EXPECT_EQ(rect->dObjs[0].m_VertexBuffer, nullptr);
    ASSERT_TRUE(m_scene->RestoreDevice(m_render.get()));
    ClearTo(0, 0, 0);
    DrawFrame();
    EXPECT_EQ(RgbAt(2, 2), (Rgb{255, 0, 0}));

    // Forced restore without a device loss: everything is made anew lazily.
    m_scene->ForceRestore();
    EXPECT_EQ(m_scene->FindNode("TestEffect1")->m_deviceDirty & DeviceBit(0), DeviceBit(0));
    DrawFrame();
    EXPECT_EQ(m_scene->FindNode("TestEffect1")->m_deviceDirty & DeviceBit(0), 0u);
    EXPECT_EQ(RgbAt(2, 2), (Rgb{255, 0, 0}));
}
