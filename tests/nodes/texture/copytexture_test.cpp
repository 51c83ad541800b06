// CopyTexture on a real context: a scene that uses it survives a save and a
// load, and the copy holds what its shader makes of the source.

#include "nodes/texture/copytexturenode.h"
#include "ports/types/portstring.h"
#include "render/fxmanager.h"
#include "support/logcapture.h"
#include "support/tempdir.h"
#include "texturescenetest.h"

namespace {

// Four quadrants in the picture's own sense: red on the right, green at the
// top, so that a copy turned over or mirrored shows.
constexpr const char* kQuadrants = R"(struct PSInput { float4 hpos : POSITION; float2 tex : TEXCOORD0; };
PSInput VS_Program(VSInput vi) { PSInput pi; pi.hpos = float4(vi.pos.xyz, 1.0); pi.tex = vi.tex; return pi; }
float4 PS_Program(PSInput pi) : COLOR { return float4(step(0.5, pi.tex.x), step(0.5, pi.tex.y), 0, 1); }
)";

constexpr const char* kCopyShader = R"(struct PSInput { float4 hpos : POSITION; float2 tex : TEXCOORD0; };
PSInput VS_Program(VSInput vi) { PSInput pi; pi.hpos = mul(gWVP, float4(vi.pos.xyz, 1.0)); pi.tex = vi.tex; return pi; }
float4 PS_Program(PSInput pi) : COLOR
{
    float4 c = tex2D(tex1, pi.tex);
    return float4(c.r * color1.r, c.g, in1.z + tex2D(tex2, pi.tex).b, (tex1size.x + tex1size.y) / 64.0);
}
)";

class CopyTextureGL : public TextureSceneTest
{
protected:
    void SetUp() override
    {
        TextureSceneTest::SetUp();
        m_render->GetRenderData()->GetFxManager()->m_includeDirectory = LUMORA_SOURCE_DATA_DIR "/nodedata";
    }

    // RenderToTexture1 holds the quadrants, RenderToTexture2 a dark blue;
    // CopyTexture1 copies the first with the second as tex2, and TestEffect1
    // shows the copy on the window through RenderRect1.
    CScene& CopyScene()
    {
        CScene& scene = NewScene();
        Add(scene, {"CopyTexture"});
        AddTextureView(scene, "CopyTexture1.Texture");
        Add(scene, {"RenderToTexture", "Clear", "RenderRect", "Shader", "RenderToTexture", "Clear"});
        Connect(scene, "Clear1.Render", "RenderRect2.Render");
        Connect(scene, "Shader1.Effect", "RenderRect2.Effect");
        Connect(scene, "RenderRect2.Render", "RenderToTexture1.Render");
        Set(scene, "Shader1.Shader", kQuadrants);
        Connect(scene, "Clear2.Render", "RenderToTexture2.Render");
        Set(scene, "Clear2.Color", "0 0 0.25 1");
        Connect(scene, "RenderToTexture1.Color", "CopyTexture1.Texture");
        Connect(scene, "RenderToTexture2.Color", "CopyTexture1.Texture2");
        Set(scene, "CopyTexture1.TextureSize", "1");
        Set(scene, "CopyTexture1.Color1", "0.5 1 1 1");
        Set(scene, "CopyTexture1.In1", "0 0 0.25");
        Set(scene, "CopyTexture1.Shader", kCopyShader);
        return scene;
    }

    static CCopyTextureNode* Copy(CScene& scene)
    {
        return dynamic_cast<CCopyTextureNode*>(scene.FindNode("CopyTexture1"));
    }
};

} // namespace

TEST_F(CopyTextureGL, ASavedSceneLoadsAndCopiesAtTheChosenSizeWithTheShadersValues)
{
    CTempDir dir;
    ASSERT_TRUE(CopyScene().Save(dir.File("copy.lmc"), false));
    CScene& scene = NewScene();
    ASSERT_TRUE(scene.Load(dir.File("copy.lmc"), true));
    ASSERT_NE(Copy(scene), nullptr) << "the type is known to the factory";
    EXPECT_EQ(scene.FindInPort("CopyTexture1.TextureSize", nullptr)->GetValue(), "1");
    EXPECT_EQ(scene.FindInPort("CopyTexture1.Shader", nullptr)->GetValue(), kCopyShader);

    Update(scene);
    scene.Draw(m_render.get());
    ASSERT_TRUE(Copy(scene)->HasTechnique()) << Copy(scene)->GetComposedText();
    const std::string& text = Copy(scene)->GetComposedText();
    EXPECT_NE(text.find("float2 tex1size;\n"), std::string::npos);
    EXPECT_EQ(text.find("tex3"), std::string::npos) << "nothing the shader doesn't use";
    EXPECT_NE(text.find("sampler2D tex1 = sampler_state { MinFilter = LinearMipMapLinear;"), std::string::npos)
        << "the sampler follows the source's flags";

    std::shared_ptr<CTexture> copy = TextureOf(scene, "CopyTexture1.Texture");
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->m_width, Width / 2);
    EXPECT_EQ(copy->m_height, Height / 2);
    EXPECT_EQ(Output(scene, "CopyTexture1.Texture")->m_value->m_flags, PDT_ClampToEdge);
    EXPECT_FALSE(copy->m_flags & TXF_MipMaps);
    // Rows of a target's surface run from the picture's top. Red is halved
    // by color1, blue is in1.z plus tex2, alpha the source's size / 64.
    EXPECT_TRUE(Near(PixelOf(copy, 3, 1), {0, 255, 128, 191})) << "top left";
    EXPECT_TRUE(Near(PixelOf(copy, 12, 1), {128, 255, 128, 191})) << "top right";
    EXPECT_TRUE(Near(PixelOf(copy, 3, 6), {0, 0, 128, 191})) << "bottom left";
    EXPECT_TRUE(Near(PixelOf(copy, 12, 6), {128, 0, 128, 191})) << "bottom right";
    EXPECT_EQ(RgbAt(8, 8)[0] + RgbAt(24, 8)[0], 128) << "the reader drew the copy";

    // Asked again in the frame, the same copy without another draw.
    const size_t targets = Pool()->UsedRenderTargetCount();
    EXPECT_EQ(TextureOf(scene, "CopyTexture1.Texture"), copy);
    EXPECT_EQ(Pool()->UsedRenderTargetCount(), targets);
    copy.reset();
    scene.FrameFinished();
    EXPECT_EQ(Pool()->UsedRenderTargetCount(), 0u) << "the copy's surface goes back at the frame's end";

    // The default size is a quarter; mip maps are built when asked for.
    Set(scene, "CopyTexture1.TextureSize", "2");
    Set(scene, "CopyTexture1.CreateMipMaps", "true");
    Update(scene);
    copy = TextureOf(scene, "CopyTexture1.Texture");
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->m_width, Width / 4);
    EXPECT_EQ(copy->m_height, Height / 4);
    EXPECT_EQ(Output(scene, "CopyTexture1.Texture")->m_value->m_flags, PDT_MipMaps | PDT_ClampToEdge);
    EXPECT_TRUE(copy->m_flags & TXF_MipMaps);
    EXPECT_TRUE(Near(PixelOf(copy, 7, 3), {128, 0, 128, 191})) << "bottom right";
}

TEST_F(CopyTextureGL, WithoutAWorkingShaderOrASourceReadersGetNoTexture)
{
    CScene& scene = CopyScene();
    Update(scene);
    EXPECT_TRUE(TextureOf(scene, "CopyTexture1.Texture")) << "the scene works as built";
    scene.FrameFinished();

    CLogCapture log;
    std::string broken = kCopyShader;
    broken.replace(broken.find("in1.z"), 5, "undefined_thing");
    Set(scene, "CopyTexture1.Shader", broken);
    Update(scene);
    EXPECT_FALSE(Copy(scene)->HasTechnique());
    EXPECT_TRUE(log.Contains("undefined_thing")) << "the compiler's listing is logged";
    EXPECT_FALSE(TextureOf(scene, "CopyTexture1.Texture"));
    scene.Draw(m_render.get());
    EXPECT_EQ(RgbAt(8, 8), (Rgb{0, 0, 0})) << "the reader sampled no texture";
    scene.FrameFinished();

    // An empty text is no shader and no complaint.
    CLogCapture quiet;
    Set(scene, "CopyTexture1.Shader", "");
    Update(scene);
    EXPECT_FALSE(TextureOf(scene, "CopyTexture1.Texture"));
    EXPECT_FALSE(quiet.Contains("!ERROR!"));
    scene.FrameFinished();

    // The text a new node starts with copies; without a source there is
    // nothing to copy.
    const std::string copyText = scene.AddNode("CopyTexture")->GetInPort("Shader")->GetValue();
    Set(scene, "CopyTexture1.Shader", copyText);
    Update(scene);
    std::shared_ptr<CTexture> copy = TextureOf(scene, "CopyTexture1.Texture");
    ASSERT_TRUE(copy);
    EXPECT_TRUE(Near(PixelOf(copy, 1, 0), {0, 255, 0, 255})) << "top left of the quadrants";
    copy.reset();
    scene.FrameFinished();
    scene.FindNode("CopyTexture1")->DisconnectFrom(scene.FindNode("RenderToTexture1"));
    Update(scene);
    EXPECT_FALSE(TextureOf(scene, "CopyTexture1.Texture"));
}
