// The Shader node on a real context: fragments typed by an author compile
// with what they use, draw through a RenderRect with the node's values and
// textures, and fail with a listing in the log.

#include "nodes/nodetypes.h"
#include "nodes/render/shadernode.h"
#include "ports/port.h"
#include "ports/types/dataports.h"
#include "render/noisetextures.h"
#include "render/render.h"
#include "render/texture.h"
#include "render/texturemanager.h"
#include "support/glfixture.h"
#include "scene/nodedeclaration.h"
#include "scene/nodefactory.h"
#include "scene/pdobject.h"
#include "scene/pdtexture.h"
#include "scene/renderlist.h"
#include "scene/scene.h"
#include "support/logcapture.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace {

using Rgb = std::array<int, 3>;

// A texture source that counts how often it is asked for its texture.
class CCountingTexture : public CNode, public CPDTexture
{
public:
    explicit CCountingTexture(CTextureManager& pool)
    {
        m_info = std::make_unique<CNodeInfo>(NG_Textures, "CountingTexture", [] { return static_cast<CNode*>(nullptr); });
        m_info->AddOutPort(std::make_unique<CPortTexture>("Texture", "counted texture"));
        SetType(*m_info);
        m_texture = pool.GetTexture(4, 4, 0, TF_A8R8G8B8, TT_Normal);
        uint8_t* texels = m_texture->Lock();
        std::fill(texels, texels + m_texture->GetBufferSize(), uint8_t(255));
        m_texture->Unlock(0);
        SetTextureInfo(2, 0);
        m_updateOnce = false;
    }
    ~CCountingTexture() override
    {
        m_texture->m_width = m_texture->m_height = 4;
    }
    // Outside the scene nobody clears its flags, so it flags a change only
    // when what it publishes changes, as texture nodes do.
    void Update(float, CSceneContext*) override
    {
        CPortTexture* port = GetOutPort<CPortTexture>("Texture");
        port->m_changed = port->m_value != this || m_dimension != m_published[0] || m_flags != m_published[1];
        m_published = {m_dimension, m_flags};
        port->m_value = this;
    }
    std::shared_ptr<CTexture> GetTexture(CRender*) override
    {
        ++m_calls;
        return m_texture;
    }

    int m_calls = 0;
    std::array<int, 2> m_published{};
    std::shared_ptr<CTexture> m_texture;
    std::unique_ptr<CNodeInfo> m_info;
};

// A front-facing square over the same area as a RenderRect, with the same
// texture coordinates (v is 1 at the top), drawn as an object through the
// render list: the camera and the world matrix place it. Registered under a
// planned type name of the catalogue that no engine node uses yet.
class CSquareObjectNode : public CNode, public CPDObject
{
public:
    ~CSquareObjectNode() override { InvalidateDevice(nullptr); }
    void Update(float time, CSceneContext*) override
    {
        UpdateInPorts(time);
        m_out->m_value = this;
    }
    bool RestoreDevice(CRender* render) override
    {
        InvalidateDevice(render);
        m_vertices = render->CreateVertexBuffer(6, 0, VBF_PNTBTC);
        auto* out = m_vertices ? static_cast<SVertexPNTBTC*>(m_vertices->Lock()) : nullptr;
        if (!out)
            return false;
        // Counter-clockwise as seen from the camera.
        const float corners[6][4] = {{-1, 1, 0, 1}, {-1, -1, 0, 0}, {1, -1, 1, 0},
                                     {1, -1, 1, 0}, {1, 1, 1, 1},   {-1, 1, 0, 1}};
        for (const auto& c : corners)
            *out++ = SVertexPNTBTC{{c[0], c[1], 0}, 0xFFFFFFFFu, {c[2], c[3]}, {0, 0, -1}, {1, 0, 0}, {0, 1, 0}, 0};
        m_vertices->Unlock();
        return true;
    }
    void InvalidateDevice(CRender*) override { m_vertices.reset(); }
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* view) override
    {
        for (CRenderItem* parent : *parents)
            parent->m_children.PushBack(list->NewItem(parent->m_world, view, this, m_effect->m_value, parent->m_color));
    }
    void Draw(CRender* render) override
    {
        render->SetVertexBuffer(m_vertices.get());
        render->DrawPrimitive(PT_Triangles, 0, 2);
    }

    static std::unique_ptr<CNodeInfo> Declare()
    {
        const CNodeDeclaration declaration = {
            In(&CSquareObjectNode::m_effect, "Effect", "effect"),
            Out(&CSquareObjectNode::m_out, "Object", "object"),
        };
        return declaration.MakeInfo(NG_Objects, "SquareObject", "");
    }

    CPortEffect* m_effect = nullptr;
    CPortObject* m_out = nullptr;
    std::unique_ptr<CVertexBuffer> m_vertices;
};

// Positions pass straight through, so the rectangle covers the viewport.
const std::string kPassThrough =
    "struct PSInput { float4 hpos : POSITION; float2 tex : TEXCOORD0; };\n"
    "PSInput VS_Program(VSInput vi) { PSInput pi; pi.hpos = float4(vi.pos.xyz, 1.0); pi.tex = vi.tex; return pi; }\n";

std::string Fragment(const std::string& pixel)
{
    return kPassThrough + "float4 PS_Program(PSInput pi) : COLOR { return " + pixel + "; }\n";
}

int Byte(double v)
{
    return int(std::clamp(v, 0.0, 1.0) * 255.0 + 0.5);
}

void ExpectNear(const Rgb& actual, const Rgb& expected, int tolerance = 2)
{
    for (size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(actual[i], expected[i], tolerance) << "channel " << i;
}

// Improved noise written out from its definition: period 256 is the plain
// noise, period 8 the lattice of the noise texture.
float ReferenceNoise(float x, float y, float z, int period, int offset)
{
    const auto& P = CNoiseTextures::Permutation();
    auto fade = [](float t) { return t * t * t * (t * (t * 6 - 15) + 10); };
    auto grad = [](int hash, float gx, float gy, float gz) {
        switch (hash & 15) {
        case 0: return gx + gy;
        case 1: return -gx + gy;
        case 2: return gx - gy;
        case 3: return -gx - gy;
        case 4: return gx + gz;
        case 5: return -gx + gz;
        case 6: return gx - gz;
        case 7: return -gx - gz;
        case 8: return gy + gz;
        case 9: return -gy + gz;
        case 10: return gy - gz;
        case 11: return -gy - gz;
        case 12: return gy + gx;
        case 13: return -gy + gz;
        case 14: return gy - gx;
        default: return -gy - gz;
        }
    };
    const int cx = int(std::floor(x)), cy = int(std::floor(y)), cz = int(std::floor(z));
    const float fx = x - float(cx), fy = y - float(cy), fz = z - float(cz);
    auto corner = [&](int dx, int dy, int dz) {
        const int X = (cx + dx) % period + offset, Y = (cy + dy) % period + offset, Z = (cz + dz) % period + offset;
        return grad(P[size_t(P[size_t(P[size_t(X)] + Y)] + Z)], fx - float(dx), fy - float(dy), fz - float(dz));
    };
    auto lerp = [](float t, float a, float b) { return a + t * (b - a); };
    const float u = fade(fx), v = fade(fy), w = fade(fz);
    return lerp(w, lerp(v, lerp(u, corner(0, 0, 0), corner(1, 0, 0)), lerp(u, corner(0, 1, 0), corner(1, 1, 0))),
                lerp(v, lerp(u, corner(0, 0, 1), corner(1, 0, 1)), lerp(u, corner(0, 1, 1), corner(1, 1, 1))));
}

class ShaderNodeGL : public CGLRenderTest
{
protected:
    void SetUp() override
    {
        CGLRenderTest::SetUp();
        m_factory = CNodeFactory::Get();
        m_factory->Init(NodeTypes());
        m_render->GetRenderData()->GetFxManager()->m_includeDirectory = LUMORA_SOURCE_DATA_DIR "/nodedata";
        m_squareInfo = CSquareObjectNode::Declare();
        m_factory->Add(m_squareInfo.get());
        m_scene = std::make_unique<CScene>();
    }
    void TearDown() override
    {
        m_scene->InvalidateDevice(m_render.get());
        m_scene.reset();
        m_counters.clear();
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
    void Add(std::initializer_list<const char*> types)
    {
        for (const char* type : types)
            ASSERT_NE(m_scene->AddNode(type), nullptr) << type;
    }
    void Connect(const std::string& from, const std::string& to)
    {
        ASSERT_TRUE(m_scene->Connect(from, to)) << from << " -> " << to;
    }
    void NewScene()
    {
        m_scene->InvalidateDevice(m_render.get());
        m_scene = std::make_unique<CScene>();
    }

    // Clear (black) <- RenderRect <- Shader1 with `fragment`, both faces drawn.
    void BuildRect(const std::string& fragment)
    {
        Add({"Screen", "RenderRect", "Clear", "Shader"});
        Connect("Clear1.Render", "RenderRect1.Render");
        Connect("RenderRect1.Render", "Screen1.Render");
        Connect("Shader1.Effect", "RenderRect1.Effect");
        Set("Clear1.Color", "0 0 0 1");
        Set("Shader1.CullMode", "0");
        if (!fragment.empty())
            Set("Shader1.Shader", fragment);
    }
    void SetShader(const std::string& fragment) { Set("Shader1.Shader", fragment); }

    void DrawFrame()
    {
        m_scene->Update(1.0f / 30.0f, m_render.get());
        ClearTo(0, 0, 0);
        m_scene->Draw(m_render.get());
        m_scene->FrameFinished();
    }

    // The effect layer's last complaint, for failure messages.
    std::string LastError() { return m_render->GetRenderData()->GetFxManager()->GetLastError(); }

    CShaderNode* Shader() { return dynamic_cast<CShaderNode*>(m_scene->FindNode("Shader1")); }

    CCountingTexture& ConnectCounter(const char* port)
    {
        m_counters.push_back(std::make_unique<CCountingTexture>(*m_render->GetRenderData()->GetTextureManager()));
        EXPECT_TRUE(Shader()->Connect(port, m_counters.back().get(), "Texture"));
        return *m_counters.back();
    }

    // The back buffer's pixel, counting rows from the top.
    Rgb ShownAt(int x, int y) { return RgbAt(x, Height - 1 - y); }

    CNodeFactory* m_factory = nullptr;
    std::unique_ptr<CNodeInfo> m_squareInfo;
    std::vector<std::unique_ptr<CCountingTexture>> m_counters;
    std::unique_ptr<CScene> m_scene;
};

} // namespace

TEST_F(ShaderNodeGL, DefaultFragmentDrawsAFadingDiscThroughTheCamera)
{
    BuildRect("");
    DrawFrame();
    ASSERT_NE(Shader(), nullptr) << "the real Shader node is registered";
    ASSERT_TRUE(Shader()->HasTechnique()) << LastError() << "\n" << Shader()->GetComposedText();
    const Rgb centre = RgbAt(Width / 2, Height / 2);
    for (int channel : centre)
        EXPECT_GT(channel, 200) << "the disc is white in the middle";
    EXPECT_EQ(RgbAt(0, 0), (Rgb{0, 0, 0})) << "outside the disc only the clear shows";
}

TEST_F(ShaderNodeGL, HeaderDeclaresWhatTheFragmentUses)
{
    struct SCase
    {
        const char* use;
        std::vector<const char*> declared;
        std::vector<const char*> absent;
    } cases[] = {
        {"color1", {"float4 color1;\n"}, {"float4 color;\n", "float4 color2;\n"}},
        {"gWVP[0] * color", {"float4x4 gWVP:WORLDVIEWPROJECTION;\n", "float4 color;\n"}, {"gW:WORLD;", "color1;"}},
        // A name behind an underscore or in a longer name counts as a use.
        {"in1.x + my_in2.y + xtime", {"float3 in1;\n", "float3 in2;\n", "float time;\n"}, {"float3 in3;"}},
        {"targetsize.x + tex3size.z + zfar + framenr",
         {"float4 targetsize;\n", "float4 tex3size;\n", "float zfar;\n", "float framenr;\n"},
         {"znear;", "tex1size;"}},
    };
    BuildRect("");
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.use);
        SetShader(Fragment(std::string("float4(0, 0, 0, 1) + 0 * (") + c.use + ").x"));
        DrawFrame();
        const std::string& text = Shader()->GetComposedText();
        for (const char* line : c.declared)
            EXPECT_NE(text.find(line), std::string::npos) << c.use << " declares " << line;
        for (const char* line : c.absent)
            EXPECT_EQ(text.find(line), std::string::npos) << c.use << " leaves out " << line;
        EXPECT_EQ(text.find("gFastPerlinNoiseSampler"), std::string::npos);
        EXPECT_NE(text.find("technique Tech1"), std::string::npos);
    }
}

TEST_F(ShaderNodeGL, TimeInputsColoursAndSizesReachTheShader)
{
    BuildRect(Fragment("float4(in1.x, color1.y, frac(time), 1)"));
    Set("Shader1.In1", "0.25 0.5 0.75");
    Set("Shader1.Color1", "0.2 0.4 0.6 0.8");
    DrawFrame();
    DrawFrame();
    ASSERT_TRUE(Shader()->HasTechnique());
    const float time = m_scene->GetContext().m_time;
    ASSERT_GT(time, 0.0f);
    ExpectNear(RgbAt(3, 3), {Byte(0.25), Byte(0.4), Byte(time - std::floor(time))});

    SetShader(Fragment("float4(targetsize.x / 64, targetsize.y * targetsize.w, in2.z + color2.x, 1)"));
    Set("Shader1.In2", "0 0 -0.5");
    DrawFrame();
    ExpectNear(RgbAt(20, 10), {Byte(Width / 64.0), 255, Byte(0.5)});
}

TEST_F(ShaderNodeGL, AFragmentsOwnTechniqueIsUsedAsIs)
{
    BuildRect(Fragment("float4(0, 1, 0, 1)") +
              "technique Mine { pass P { VertexShader = compile glslv VS_Program(); PixelShader = compile glslf "
              "PS_Program(); } }\n");
    DrawFrame();
    ASSERT_TRUE(Shader()->HasTechnique());
    EXPECT_EQ(Shader()->GetComposedText().find("Tech1"), std::string::npos);
    EXPECT_EQ(RgbAt(5, 5), (Rgb{0, 255, 0}));
}

TEST_F(ShaderNodeGL, PortsSetDepthBlendAndCullStates)
{
    // Added to a green clear, red becomes yellow.
    BuildRect(Fragment("float4(1, 0, 0, 1)"));
    Set("Clear1.Color", "0 1 0 1");
    Set("Shader1.SrcBlend", "1");
    Set("Shader1.DstBlend", "1");
    Set("Shader1.DepthTest", "false");
    Set("Shader1.DepthWrite", "false");
    DrawFrame();
    EXPECT_EQ(RgbAt(5, 5), (Rgb{255, 255, 0}));
    const CRenderStates& states = m_render->GetStateManager()->m_states;
    EXPECT_EQ(states.m_flags & (RS_DepthTest | RS_DepthWrite), 0);
    EXPECT_EQ(states.m_srcBlend, 1);
    EXPECT_EQ(states.m_dstBlend, 1);
    EXPECT_EQ(states.m_cullMode, 0);

    Set("Shader1.DstBlend", "0");
    Set("Shader1.DepthTest", "true");
    Set("Shader1.CullMode", "1");
    DrawFrame();
    EXPECT_EQ(states.m_flags & (RS_DepthTest | RS_DepthWrite), RS_DepthTest);
    EXPECT_EQ(states.m_dstBlend, 0);
    EXPECT_EQ(states.m_cullMode, 1);
}

TEST_F(ShaderNodeGL, Texture1FromARenderToTextureIsSampledWithItsFlags)
{
    BuildRect(Fragment("float4(tex2D(tex1, pi.tex).g, tex1size.x * tex1size.z, tex1size.y * tex1size.w, 1)"));
    Add({"RenderToTexture", "Clear"});
    Connect("Clear2.Render", "RenderToTexture1.Render");
    Connect("RenderToTexture1.Color", "Shader1.Texture1");
    Set("Clear2.Color", "0 1 0 1");
    DrawFrame();
    ASSERT_TRUE(Shader()->HasTechnique()) << Shader()->GetComposedText();
    EXPECT_NE(Shader()->GetComposedText().find("sampler2D tex1 = sampler_state { MinFilter = LinearMipMapLinear; "
                                                "MagFilter = Linear; AddressU = ClampToEdge; AddressV = ClampToEdge; };"),
              std::string::npos)
        << "a mip-mapped, clamped source";
    ExpectNear(RgbAt(8, 8), {255, 255, 255});
}

TEST_F(ShaderNodeGL, OnlyTexturesTheFragmentNamesAreAskedFor)
{
    BuildRect(Fragment("tex2D(tex1, pi.tex)"));
    CCountingTexture& first = ConnectCounter("Texture1");
    CCountingTexture& second = ConnectCounter("Texture2");
    DrawFrame();
    ASSERT_TRUE(Shader()->HasTechnique()) << Shader()->GetComposedText();
    const std::string& text = Shader()->GetComposedText();
    EXPECT_NE(text.find("sampler2D tex1 = sampler_state { MinFilter = Linear; MagFilter = Linear; AddressU = Repeat;"),
              std::string::npos);
    EXPECT_EQ(text.find("tex2 ="), std::string::npos);
    EXPECT_GE(first.m_calls, 1);
    EXPECT_EQ(second.m_calls, 0);
    EXPECT_EQ(RgbAt(4, 4), (Rgb{255, 255, 255}));

    // A texture that reports no size gives zeros, not infinities.
    first.m_texture->m_width = first.m_texture->m_height = 0;
    SetShader(Fragment("float4(tex1size.z, tex1size.w, tex1size.x + 0 * tex2D(tex1, pi.tex).r, 1)"));
    DrawFrame();
    ASSERT_TRUE(Shader()->HasTechnique());
    EXPECT_EQ(RgbAt(4, 4), (Rgb{0, 0, 0}));
}

TEST_F(ShaderNodeGL, SamplerLinesFollowTheSourceUnlessTheFragmentDeclaresOne)
{
    auto count = [](const std::string& text, const std::string& part) {
        size_t n = 0;
        for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
            ++n;
        return n;
    };
    BuildRect(Fragment("texCUBE(tex1, float3(pi.tex, 1))"));
    CCountingTexture& source = ConnectCounter("Texture1");
    source.SetTextureInfo(2, PDT_Clamp);
    DrawFrame();
    EXPECT_EQ(count(Shader()->GetComposedText(), "sampler2D tex1 = sampler_state { MinFilter = Linear; MagFilter = "
                                                 "Linear; AddressU = ClampToEdge; AddressV = ClampToEdge; };\n"),
              1u);

    source.SetTextureInfo(-1, 0);
    DrawFrame();
    EXPECT_TRUE(Shader()->HasTechnique()) << LastError();
    EXPECT_EQ(count(Shader()->GetComposedText(),
                    "samplerCUBE tex1 = sampler_state { MinFilter = Linear; MagFilter = Linear; AddressU = ClampToEdge; "
                    "AddressV = ClampToEdge;  AddressW = ClampToEdge; };\n"),
              1u)
        << "a cube map source recompiles with a cube sampler";

    source.SetTextureInfo(2, 0);
    SetShader("sampler2D tex1 = sampler_state { MinFilter = Point; MagFilter = Point; };\n" +
              Fragment("tex2D(tex1, pi.tex)"));
    DrawFrame();
    ASSERT_TRUE(Shader()->HasTechnique()) << LastError();
    EXPECT_EQ(count(Shader()->GetComposedText(), "tex1 = sampler_state"), 1u) << "the author's own declaration";
    EXPECT_EQ(RgbAt(4, 4), (Rgb{255, 255, 255})) << "and still the source's texture";
}

TEST_F(ShaderNodeGL, ABrokenFragmentLogsItsListingDrawsNothingAndRecompilesOnlyOnChange)
{
    CLogCapture log;
    BuildRect(Fragment("float4(undefined_thing, 0, 0, 1)"));
    CCountingTexture& source = ConnectCounter("Texture1");
    Set("Clear1.Color", "0 0 1 1");
    DrawFrame();
    EXPECT_FALSE(Shader()->HasTechnique());
    EXPECT_TRUE(log.Contains("undefined_thing")) << "the compiler's listing names the fault";
    EXPECT_EQ(RgbAt(5, 5), (Rgb{0, 0, 255})) << "only the clear shows";
    auto listings = [&] {
        const std::vector<std::string> messages = log.Messages();
        return std::count_if(messages.begin(), messages.end(),
                             [](const std::string& m) { return m.find("undefined_thing") != std::string::npos; });
    };
    const auto firstCount = listings();

    Set("Shader1.In1", "1 2 3");
    DrawFrame();
    DrawFrame();
    EXPECT_EQ(listings(), firstCount) << "values alone don't recompile";

    source.SetTextureInfo(3, 0);
    DrawFrame();
    EXPECT_GT(listings(), firstCount) << "a source of another dimension does";

    SetShader(Fragment("float4(1, 1, 0, 1)"));
    DrawFrame();
    EXPECT_TRUE(Shader()->HasTechnique());
    EXPECT_EQ(RgbAt(5, 5), (Rgb{255, 255, 0}));
}

TEST_F(ShaderNodeGL, ExpressionRewritesInputsEachFrameAndPermSurvives)
{
    BuildRect(Fragment("float4(in1.x, in1.y, color2.b, 1)"));
    Set("Shader1.In1", "0 1 0");
    Set("Shader1.Expression", "perm = perm + 1; in1.x = perm / 10; in1.y = in1.y * 0.5; col2.b = 0.25");
    DrawFrame();
    ExpectNear(RgbAt(6, 6), {Byte(0.1), Byte(0.5), Byte(0.25)});
    DrawFrame();
    // in1.y starts again from the port, perm goes on.
    ExpectNear(RgbAt(6, 6), {Byte(0.2), Byte(0.5), Byte(0.25)});

    // A script that fails leaves the ports' values.
    Set("Shader1.Expression", "in1.x = ");
    DrawFrame();
    ExpectNear(RgbAt(6, 6), {0, 255, 255});
}

TEST_F(ShaderNodeGL, IncludeFunctionsCompileWithAndWithoutTheFastSampler)
{
    const char* detailed[] = {
        "_noise(float3(pi.tex * 4, 1))",       "_fbm(float3(pi.tex, 0.5), 4)",      "_turbulence(float3(pi.tex, 2), 3)",
        "_ridgedmf(float3(pi.tex * 3, 0), 5)", "_voronoi(pi.tex * 4)",               "_bump(pi.tex.x * 2 - 1)",
        "_cubicpulse(0.5, 0.2, pi.tex.x)",
    };
    const char* fast[] = {
        "_noisefast(float3(pi.tex * 8, 0))",   "_noisegradientfast(float3(pi.tex, 1)).x",
        "_fbmfast(float3(pi.tex, 0), 4)",      "_turbulencefast(float3(pi.tex, 0), 4)",
        "_ridgedmffast(float3(pi.tex, 0), 4)",
    };
    BuildRect("");
    for (const char* f : detailed) {
        for (const char* extra : {"", " + 0 * _noisefast(float3(0, 0, 0))"}) {
            SetShader(Fragment(std::string("float4(") + f + extra + ", 0, 0, 1)"));
            DrawFrame();
            EXPECT_TRUE(Shader()->HasTechnique()) << f << extra;
            EXPECT_EQ(Shader()->GetComposedText().find("gFastPerlinNoiseSampler =") != std::string::npos, *extra != 0);
        }
    }
    for (const char* f : fast) {
        SetShader(Fragment(std::string("float4(") + f + ", 0, 0, 1)"));
        DrawFrame();
        EXPECT_TRUE(Shader()->HasTechnique()) << f;
    }
}

TEST_F(ShaderNodeGL, DetailedNoiseIsZeroOnTheLatticeAndMatchesImprovedNoise)
{
    const float x = 3.5f, y = 5.25f, z = 7.75f;
    BuildRect(Fragment("float4(0.5 + _noise(float3(3, 5, 7)), 0.5 + 0.5 * _noise(float3(3.5, 5.25, 7.75)), "
                       "0.5 + 0.5 * _noise(float3(300.5, 5.25, 7.75)), 1)"));
    DrawFrame();
    ASSERT_TRUE(Shader()->HasTechnique());
    const double expected = 0.5 + 0.5 * ReferenceNoise(x, y, z, 256, 0);
    ASSERT_NE(Byte(expected), 128) << "a point that tells the lookups apart";
    ExpectNear(RgbAt(6, 6), {128, Byte(expected), Byte(0.5 + 0.5 * ReferenceNoise(300.5f - 256, y, z, 256, 0))});
}

TEST_F(ShaderNodeGL, NoiseTexturesHoldTheirFormulas)
{
    CNoiseTextures* noise = m_render->GetRenderData()->GetNoiseTextures();
    ASSERT_NE(noise, nullptr);
    const auto& P = CNoiseTextures::Permutation();

    const std::shared_ptr<CTexture> perm1 = noise->GetPermutation1D();
    ASSERT_EQ(perm1->GetShape(), ETextureShape::Texture1D);
    for (int i : {0, 1, 200, 255})
        for (int b = 0; b < 4; ++b)
            EXPECT_EQ(perm1->Lock()[i * 4 + b], P[size_t(i)]) << i;

    const std::shared_ptr<CTexture> perm2 = noise->GetPermutation2D();
    ASSERT_EQ(perm2->GetShape(), ETextureShape::Texture2D);
    for (auto [x, y] : {std::pair{0, 0}, {255, 0}, {17, 200}, {255, 255}}) {
        const uint8_t* t = perm2->Lock() + (y * 256 + x) * 4;
        const size_t a = P[size_t(y)], b = P[size_t(y + 1)];
        EXPECT_EQ((std::array<int, 4>{t[0], t[1], t[2], t[3]}),
                  (std::array<int, 4>{P[a + size_t(x)], P[a + size_t(x) + 1], P[b + size_t(x)], P[b + size_t(x) + 1]}))
            << x << ", " << y;
    }

    const std::shared_ptr<CTexture> perlin = noise->GetPerlin3D();
    ASSERT_EQ(perlin->GetShape(), ETextureShape::Texture3D);
    auto quantize = [](float v) {
        const float w = v * 0.5f + 0.5f;
        return w >= 1 ? 255 : w <= 0 ? 0 : int(w * 255.0f);
    };
    for (auto [x, y, z] : {std::array{0, 0, 0}, {1, 2, 3}, {31, 5, 17}, {13, 30, 31}}) {
        const float a = float(x) * 0.25f, b = float(y) * 0.25f, c = float(z) * 0.25f;
        const uint8_t* t = perlin->Lock() + ((z * 32 + y) * 32 + x) * 4;
        EXPECT_NEAR(t[0], quantize(ReferenceNoise(a, b, c, 8, 0)), 1) << x << " " << y << " " << z;
        EXPECT_NEAR(t[1], quantize(ReferenceNoise(a, b, c, 8, 8)), 1) << x << " " << y << " " << z;
        EXPECT_EQ((std::array<int, 2>{t[2], t[3]}), (std::array<int, 2>{127, 255}));
    }
    EXPECT_EQ(perlin->Lock()[0], 127) << "noise is 0 on the lattice";
}

TEST_F(ShaderNodeGL, VertexNumbersReachTheVertexProgram)
{
    // The corners of a one-cell rectangle are numbered row by row from the
    // top left; a plain draw is instance 0.
    BuildRect(R"(struct PSInput { float4 hpos : POSITION; float4 col : COLOR0; };
PSInput VS_Program(VSInput vi)
{
    PSInput pi;
    pi.hpos = float4(vi.pos.xyz, 1.0);
    pi.col = float4(vi.vertexid / 3.0, vi.instanceid, 0, 1);
    return pi;
}
float4 PS_Program(PSInput pi) : COLOR { return pi.col; }
)");
    DrawFrame();
    ASSERT_TRUE(Shader()->HasTechnique()) << LastError() << "\n" << Shader()->GetComposedText();
    ExpectNear(ShownAt(0, 0), {0, 0, 0}, 12);
    ExpectNear(ShownAt(Width - 1, 0), {85, 0, 0}, 12);
    ExpectNear(ShownAt(0, Height - 1), {170, 0, 0}, 12);
    ExpectNear(ShownAt(Width - 1, Height - 1), {255, 0, 0}, 12);
}

TEST_F(ShaderNodeGL, TheDefaultCullModeDrawsRectanglesAndObjectsUprightOnScreenAndInATarget)
{
    const std::string throughCamera =
        "struct PSInput { float4 hpos : POSITION; float2 tex : TEXCOORD0; };\n"
        "PSInput VS_Program(VSInput vi)\n"
        "{ PSInput pi; pi.hpos = mul(gWVP, float4(vi.pos.xyz, 1.0)); pi.tex = vi.tex; return pi; }\n";
    // A picture that tells all four corners apart: red on the right, green at the top.
    const std::string quadrants = "float4 PS_Program(PSInput pi) : COLOR { return float4(step(0.5, pi.tex.x), "
                                  "step(0.5, pi.tex.y), 0, 1); }\n";
    struct SCase
    {
        const char* what;
        bool object;
        std::string fragment;
    };
    const SCase cases[] = {
        {"a rectangle through gWVP", false, throughCamera + quadrants},
        {"a rectangle that passes positions through", false, kPassThrough + quadrants},
        {"an object through gWVP", true, throughCamera + quadrants},
    };
    for (const SCase& c : cases) {
        for (bool intoTarget : {false, true}) {
            const std::string where = std::string(c.what) + (intoTarget ? " in a target" : " on screen");
            // Blue clear, then the picture; all shaders keep the default cull mode.
            NewScene();
            Add({"Screen", "Clear", "Shader", c.object ? "RenderObject" : "RenderRect"});
            const std::string step = c.object ? "RenderObject1" : "RenderRect1";
            if (c.object) {
                Add({"SquareObject"});
                Connect("Shader1.Effect", "SquareObject1.Effect");
                Connect("SquareObject1.Object", "RenderObject1.Object");
            } else {
                Connect("Shader1.Effect", "RenderRect1.Effect");
            }
            Connect("Clear1.Render", step + ".Render");
            Set("Clear1.Color", "0 0 1 1");
            SetShader(c.fragment);
            if (!intoTarget) {
                Connect(step + ".Render", "Screen1.Render");
            } else {
                // Drawn through Screen2 into the target, shown on a grey
                // clear the way scenes show textures of targets, whose rows
                // run from the picture's top.
                const std::string view = m_scene->AddNode("RenderRect")->m_name;
                Add({"Screen", "RenderToTexture", "Clear", "Shader"});
                Connect(step + ".Render", "Screen2.Render");
                Connect("Screen2.Render", "RenderToTexture1.Render");
                Connect("Clear2.Render", view + ".Render");
                Connect(view + ".Render", "Screen1.Render");
                Set("Clear2.Color", "0.5 0.5 0.5 1");
                Connect("Shader2.Effect", view + ".Effect");
                Connect("RenderToTexture1.Color", "Shader2.Texture1");
                Set("Shader2.Shader", Fragment("tex2D(tex1, float2(pi.tex.x, 1.0 - pi.tex.y))"));
            }
            DrawFrame();

            // Points inside the square however the camera shows it.
            EXPECT_EQ(ShownAt(10, 3), (Rgb{0, 255, 0})) << where << ": top left";
            EXPECT_EQ(ShownAt(21, 3), (Rgb{255, 255, 0})) << where << ": top right";
            EXPECT_EQ(ShownAt(10, 12), (Rgb{0, 0, 0})) << where << ": bottom left";
            EXPECT_EQ(ShownAt(21, 12), (Rgb{255, 0, 0})) << where << ": bottom right";
        }
    }
}
