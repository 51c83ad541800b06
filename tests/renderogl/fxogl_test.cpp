#include "support/glfixture.h"

#include "app/paths.h"
#include "render/fx.h"
#include "render/rendertarget.h"
#include "render/texture.h"
#include "render/texturemanager.h"
#include "support/logcapture.h"
#include "support/tempdir.h"

#include <GL/glew.h>

#include <cstring>
#include <filesystem>

namespace {

// The include gives a function; the first technique's programs do not
// link (the fragment program reads a varying nobody writes), so the second
// one is used.
constexpr const char* kInclude = R"(
float3 Brighten(float3 c, float by) { return saturate(c * by); }
)";

constexpr const char* kEffect = R"(#include "shader.cgh"
float4 tint = float4(1, 1, 1, 1);
float4x4 rows;
float4x4 wvp : WORLDVIEWPROJECTION;
float4x4 wvpT : WORLDVIEWPROJECTIONTRANSPOSE;
float brightness = 1.0;
texture image : DIFFUSE;
sampler2D imageSampler = sampler_state {
    Texture = <image>;
    MinFilter = LinearMipMapLinear;
    MagFilter = Nearest;
    WrapS = Clamp;
    WrapT = ClampToEdge;
};

struct VOut { float4 pos : POSITION; float2 uv : TEXCOORD0; };

VOut mainVS(float4 pos : POSITION, float2 uv : TEXCOORD0)
{
    VOut o;
    o.pos = float4(pos.xyz, 1);
    o.uv = uv;
    return o;
}

float4 needsNormal(float3 n : TEXCOORD5) : COLOR { return float4(n, 1); }

float4 textured(VOut i, uniform float gain) : COLOR
{
    float4 c = tex2D(imageSampler, i.uv) * tint * gain;
    return float4(Brighten(c.rgb, brightness), 1);
}

float4 matrixRow(VOut i) : COLOR
{
    // The semantic matrices are read so that they stay in the program.
    float4 unseen = mul(float4(1, 0, 0, 0), wvp) + mul(wvpT, float4(1, 0, 0, 0));
    return mul(float4(1, 0, 0, 0), rows) + 0.00001 * unseen;
}

technique NeedsMore { pass { VertexProgram = compile vp40 mainVS(); FragmentProgram = compile fp40 needsNormal(); } }
technique Main
{
    pass Textured
    {
        VertexProgram = compile vp40 mainVS();
        FragmentProgram = compile fp40 textured(1.0);
        ColorMask = bool4(true, false, true, true);
    }
    pass Matrix
    {
        VertexShader = compile vs_3_0 mainVS();
        PixelShader = compile ps_3_0 matrixRow();
    }
}
)";

class FxOGL : public CGLRenderTest
{
protected:
    void SetUp() override
    {
        CGLRenderTest::SetUp();
        // Quads drawn one over the other at the same depth.
        m_render->GetStateManager()->m_states.m_flags = 0;
        std::filesystem::create_directories(m_dir.File("nodedata"));
        WriteFile(m_dir.File("nodedata/shader.cgh"), kInclude);
        WriteFile(m_dir.File("nodedata/test.cgfx"), kEffect);
        g_paths.m_appPath = m_dir.Path();
        Manager()->m_includeDirectory = m_dir.File("nodedata");
    }

    CFxManager* Manager() { return m_render->GetRenderData()->GetFxManager(); }

    // A 2x2 texture of one colour, without mip maps.
    std::shared_ptr<CTexture> SolidTexture(uint8_t r, uint8_t g, uint8_t b)
    {
        std::shared_ptr<CTexture> texture =
            m_render->GetRenderData()->GetTextureManager()->GetTexture(2, 2, 0, TF_A8R8G8B8, TT_Dynamic);
        uint8_t* texels = static_cast<uint8_t*>(texture->Lock());
        for (int i = 0; i < 4; ++i) {
            const uint8_t rgba[4] = {r, g, b, 255};
            std::memcpy(texels + i * 4, rgba, 4);
        }
        texture->Unlock(0);
        return texture;
    }

    void DrawPass(CFxPass* pass)
    {
        pass->SetState();
        m_render->DrawFullScreenQuad();
        pass->ResetState();
    }

    CTempDir m_dir;
};

} // namespace

TEST_F(FxOGL, BestTechniqueDrawsWithParametersTexturesAndPassStates)
{
    CLogCapture log;
    CFx* fx = Manager()->LoadEffect("nodedata/test.cgfx", true);
    ASSERT_TRUE(fx) << "compiled";
    std::unique_ptr<CFxTechnique> technique(fx->GetBestTechnique());
    ASSERT_TRUE(technique);
    EXPECT_EQ(technique->m_handle, 1) << "the first technique does not link";
    EXPECT_TRUE(log.Contains("did not compile or link"));

    CFxParam image = fx->GetParam("image");
    ASSERT_TRUE(image);
    fx->SetTexture(image, SolidTexture(200, 100, 50));
    const float tint[4] = {0.5f, 1, 1, 1};
    fx->GetParam("tint").SetVector4(tint);
    fx->GetParam("brightness").SetFloat(2.0f);

    // Both passes draw into a render target, read back while it is bound.
    std::shared_ptr<CRenderTarget> target = m_render->GetRenderData()->GetTextureManager()->GetRenderTarget(
        Width, Height, TF_A8R8G8B8, 0, "FxTest");
    ASSERT_TRUE(target);
    target->Bind(m_render.get());

    // The colour mask of the pass keeps green from being written, and goes
    // back to all channels with the pass's reset.
    ClearTo(0, 0.2f, 0);
    CFxPass* pass = technique->FirstPass();
    ASSERT_TRUE(pass);
    DrawPass(pass);
    const std::array<int, 3> textured = RgbAt(5, 5);
    EXPECT_NEAR(textured[0], 200, 2); // 200 * 0.5 * 2
    EXPECT_NEAR(textured[1], 51, 1);
    EXPECT_NEAR(textured[2], 100, 2); // 50 * 2
    GLboolean mask[4];
    glGetBooleanv(GL_COLOR_WRITEMASK, mask);
    EXPECT_TRUE(mask[1]);

    // A matrix loaded row by row: the first row is what mul(x, rows) sees.
    const float rows[16] = {0.25f, 0.5f, 0.75f, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    fx->GetParam("rows").SetMatrix(rows, false);
    fx->m_world = MatrixIdentity();
    fx->m_world[12] = 0.5f;
    fx->UpdateParameters(m_render.get());
    pass = technique->NextPass();
    ASSERT_TRUE(pass);
    pass->SetState();
    // What the program holds: WORLDVIEWPROJECTION by columns, its
    // TRANSPOSE sister by rows.
    GLint program = 0;
    glGetIntegerv(GL_CURRENT_PROGRAM, &program);
    const CMatrix product =
        MatrixMultiply(MatrixMultiply(fx->m_world, m_render->GetCamera()->m_view), m_render->GetProjection());
    for (const auto& [name, expected] : {std::pair{"wvp", MatrixTranspose(product)}, std::pair{"wvpT", product}}) {
        float held[16] = {};
        glGetUniformfv(static_cast<GLuint>(program), glGetUniformLocation(static_cast<GLuint>(program), name), held);
        for (int i = 0; i < 16; ++i)
            EXPECT_FLOAT_EQ(held[i], expected[i]) << name << " " << i;
    }
    m_render->DrawFullScreenQuad();
    pass->ResetState();
    const std::array<int, 3> fromMatrix = RgbAt(20, 10);
    EXPECT_NEAR(fromMatrix[0], 64, 1);
    EXPECT_NEAR(fromMatrix[1], 128, 1);
    EXPECT_NEAR(fromMatrix[2], 191, 1);
    EXPECT_EQ(technique->NextPass(), nullptr);

    // A value set while the pass is bound reaches the program at once.
    pass = technique->FirstPass();
    pass->SetState();
    fx->GetParam("brightness").SetFloat(1.0f);
    m_render->DrawFullScreenQuad();
    pass->ResetState();
    EXPECT_NEAR(RgbAt(5, 5)[2], 50, 2);
    target->Unbind();
}

TEST_F(FxOGL, CompileErrorsNameTheEffectLineAndBrokenEffectsAreNull)
{
    CLogCapture log;
    const std::string broken = std::string(kEffect).replace(std::string(kEffect).find("return mul("), 6, "retrun");
    EXPECT_EQ(Manager()->ParseEffect(broken), nullptr);
    const int line = 1 + static_cast<int>(std::count(kEffect, std::strstr(kEffect, "return mul("), '\n'));
    EXPECT_TRUE(log.Contains("CGError: "));
    EXPECT_TRUE(log.Contains("effect(" + std::to_string(line) + ")")) << "the effect's own line number";

    // An include that is not there is named.
    EXPECT_EQ(Manager()->ParseEffect("#include \"missing.cgh\"\n"), nullptr);
    EXPECT_TRUE(log.Contains("missing.cgh"));

    // Unknown states are reported; the pass still draws.
    std::unique_ptr<CFx> fx(Manager()->ParseEffect(
        std::string(kEffect) + "technique Odd { pass { PixelShader = compile ps_3_0 matrixRow(); Sparkle = true; } }"));
    ASSERT_TRUE(fx);
    EXPECT_TRUE(log.Contains("unknown state 'Sparkle'"));
    std::unique_ptr<CFxTechnique> odd(fx->GetTechnique("Odd"));
    ASSERT_TRUE(odd);
}

TEST_F(FxOGL, InstancedDrawsGiveTheVertexProgramVertexAndInstanceNumbers)
{
    // A quad over the left half; each instance moves one half to the right
    // and shows its number in green. Indices 1 and 2 are the top corners.
    std::unique_ptr<CFx> fx(Manager()->ParseEffect(R"(
struct VIn { float3 pos : POSITION; int vertexid : VERTEXID; int instanceid : INSTANCEID; };
struct VOut { float4 pos : POSITION; float4 color : COLOR0; };
VOut mainVS(VIn v)
{
    VOut o;
    o.pos = float4(v.pos.x + v.instanceid, v.pos.y, 0, 1);
    o.color = float4(0, v.instanceid, (v.vertexid == 1 || v.vertexid == 2) ? 1 : 0, 1);
    return o;
}
float4 mainPS(VOut i) : COLOR { return i.color; }
technique T { pass { VertexProgram = compile vp40 mainVS(); FragmentProgram = compile fp40 mainPS(); } }
)"));
    ASSERT_TRUE(fx) << Manager()->GetLastError();
    std::unique_ptr<CFxTechnique> technique(fx->GetBestTechnique());
    std::unique_ptr<CVertexBuffer> vertices = m_render->CreateVertexBuffer(4, 0, VBF_PC);
    std::unique_ptr<CIndexBuffer> indices = m_render->CreateIndexBuffer(6, 0);
    ASSERT_TRUE(technique && vertices && indices);
    const float corners[4][4] = {{-1, -1, 0, 0}, {-1, 1, 0, 0}, {0, 1, 0, 0}, {0, -1, 0, 0}};
    std::memcpy(vertices->Lock(), corners, sizeof corners);
    vertices->Unlock();
    const uint16_t quad[6] = {0, 1, 2, 2, 3, 0};
    std::memcpy(indices->Lock(), quad, sizeof quad);
    indices->Unlock();

    m_render->GetStateManager()->m_states.m_cullMode = 0;
    ClearTo(0, 0, 0);
    CFxPass* pass = technique->FirstPass();
    pass->SetState();
    m_render->SetVertexBuffer(vertices.get());
    m_render->SetIndexBuffer(indices.get());
    m_render->DrawIndexedPrimitive(PT_Triangles, 0, 2, 2);
    pass->ResetState();
    m_render->SetVertexBuffer(nullptr);
    m_render->SetIndexBuffer(nullptr);

    // Rows count from the bottom; blue grows from the bottom to the top edge.
    for (int x : {3, Width - 4}) {
        EXPECT_EQ(RgbAt(x, 0)[1], x < Width / 2 ? 0 : 255) << x;
        EXPECT_LT(RgbAt(x, 0)[2], 20) << x;
        EXPECT_GT(RgbAt(x, Height - 1)[2], 235) << x;
    }
}
