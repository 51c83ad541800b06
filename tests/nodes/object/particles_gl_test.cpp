// Textured particles on a real context: a billboard faces the camera from
// any direction it is seen from.

#include "nodes/nodetypes.h"
#include "nodes/value/valuegraph.h"
#include "render/fxmanager.h"
#include "render/matrix.h"
#include "support/glfixture.h"
#include "scene/nodefactory.h"
#include "scene/scene.h"

#include <cstdio>

namespace {

constexpr const char* kRedThroughCamera = R"(struct PSInput
{
	float4 hpos : POSITION;
};

PSInput VS_Program(VSInput vi)
{
	PSInput pi;
	pi.hpos = mul(gWVP, float4(vi.pos.xyz, 1.0));
	return pi;
}

float4 PS_Program(PSInput pi) : COLOR
{
	return float4(1, 0, 0, 1);
}
)";

class ParticlesGL : public CGLRenderTest
{
protected:
    void SetUp() override
    {
        CGLRenderTest::SetUp();
        m_render->GetRenderData()->GetFxManager()->m_includeDirectory = LUMORA_DATA_DIR "/nodedata";
        m_factory = CNodeFactory::Get();
        m_factory->Init(NodeTypes());
        m_scene = std::make_unique<CScene>();
    }
    void TearDown() override
    {
        m_scene->InvalidateDevice(m_render.get());
        m_scene.reset();
        m_factory->Release();
        CGLRenderTest::TearDown();
    }
    // "Node.Port" to the text.
    void Set(const std::string& path, const std::string& value)
    {
        const size_t dot = path.find('.');
        CValueGraph::Set(m_scene->FindNode(path.substr(0, dot)), path.substr(dot + 1).c_str(), value);
    }

    CNodeFactory* m_factory = nullptr;
    std::unique_ptr<CScene> m_scene;
};

} // namespace

TEST_F(ParticlesGL, ABillboardFacesTheCameraFromAnyView)
{
    for (const char* type : {"Screen", "RenderObject", "Clear", "Particles", "Shader"})
        ASSERT_NE(m_scene->AddNode(type), nullptr) << type;
    ASSERT_TRUE(m_scene->Connect("Clear1.Render", "RenderObject1.Render"));
    ASSERT_TRUE(m_scene->Connect("RenderObject1.Render", "Screen1.Render"));
    ASSERT_TRUE(m_scene->Connect("Particles1.Object", "RenderObject1.Object"));
    ASSERT_TRUE(m_scene->Connect("Shader1.Effect", "Particles1.Effect"));
    Set("Clear1.Color", "0 0 1 1");
    Set("Shader1.Shader", kRedThroughCamera);
    Set("Shader1.CullMode", "0");
    // One still particle at the origin, a quarter of the view across.
    for (const auto& [port, value] :
         {std::pair{"ParticlesPerSec", "30"}, {"Speed", "0"}, {"Gravity", "0 0 0"}, {"EmitterRadius", "0"},
          {"TimeToLive", "1000"}, {"Size", "0.25"}, {"SizeVar", "0"}, {"PrimType", "2"}})
        Set(std::string("Particles1.") + port, value);

    // Seen edge-on, a quad that did not turn would leave the centre blue.
    const float views[][2] = {{0, 0}, {0, 90}, {0, 180}, {60, 45}, {-80, 200}, {89, 0}};
    for (const auto& view : views) {
        SCOPED_TRACE(testing::Message() << "pitch " << view[0] << ", yaw " << view[1]);
        const CMatrix rotation = MatrixRotation(view[0] * DegreesToRadians, view[1] * DegreesToRadians, 0);
        const SVec3 look = TransformPoint({0, 0, 1}, rotation);
        char position[96];
        std::snprintf(position, sizeof position, "%g %g %g", -2 * look.x, -2 * look.y, -2 * look.z);
        Set("Screen1.CamPos", position);
        Set("Screen1.CamRot", std::to_string(view[0]) + " " + std::to_string(view[1]) + " 0");
        m_scene->Update(1.0f / 30.0f, m_render.get());
        m_scene->Draw(m_render.get());
        m_scene->FrameFinished();
        EXPECT_EQ(RgbAt(Width / 2, Height / 2), (std::array<int, 3>{255, 0, 0}));
        EXPECT_EQ(RgbAt(1, 1), (std::array<int, 3>{0, 0, 255}));
    }
}
