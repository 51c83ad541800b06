#include "render/fxparser.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

constexpr const char* kEffect = R"(// a small effect
float4x4 WorldViewProj : WORLDVIEWPROJECTION;
uniform float time : TIME < string UIName = "Time"; float UIMin = 0; > = 0.5;
float4 tint = float4(1, -0.5, 0, 1);
bool enabled = true;
float weights[3] = {1, 2, 3};
static const float2 offsets[2] = { float2(0, 1), float2(1, 0) };
texture tex0 : DIFFUSE < string ResourceName = "a.png"; >;
sampler2D image = sampler_state {
    Texture = <tex0>;
    MinFilter = LinearMipMapLinear;
    WrapS = Repeat;
    AddressV = Clamp;
};
struct VOut { float4 pos : POSITION; float2 uv : TEXCOORD0; };
VOut mainVS(float4 pos : POSITION, uniform float scale) { VOut o; o.pos = mul(WorldViewProj, pos * scale); o.uv = pos.xy; return o; }
float4 mainPS(VOut i) : COLOR { return tex2D(image, i.uv) * tint; }
technique Best < string Purpose = "x"; > {
    pass P0 {
        VertexProgram = compile vp40 mainVS(float2(1, 2).x, 3);
        FragmentProgram = compile fp40 mainPS();
        BlendEnable = true;
        BlendFunc = int2(SrcAlpha, OneMinusSrcAlpha);
        ColorMask = bool4(true, true, true, false);
        DepthBias = -0.5;
    }
    pass { CullFaceEnable = false; }
}
technique Fallback { pass Only { PixelShader = compile ps_2_0 mainPS(); AlphaRef = 0.25; } }
)";

int LineOf(const std::string& text, const std::string& what)
{
    const size_t at = text.find(what);
    return at == std::string::npos ? -1 : static_cast<int>(std::count(text.begin(), text.begin() + at, '\n')) + 1;
}

} // namespace

TEST(FxParser, TakesParametersTechniquesAndPassesApart)
{
    CFxParser parser;
    SFxEffectDesc fx;
    ASSERT_TRUE(parser.Parse(kEffect, "test.cgfx", fx)) << parser.GetError();

    ASSERT_EQ(fx.m_params.size(), 7u);
    EXPECT_EQ(fx.m_params[0].m_name, "WorldViewProj");
    EXPECT_EQ(fx.m_params[0].m_type, FT_Float4x4);
    EXPECT_EQ(fx.m_params[0].m_semantic, "WORLDVIEWPROJECTION");
    EXPECT_EQ(fx.m_params[1].m_semantic, "TIME");
    EXPECT_EQ(fx.m_params[1].m_initialValues, (std::vector<float>{0.5f})) << "annotations are skipped";
    EXPECT_EQ(fx.m_params[2].m_initialValues, (std::vector<float>{1, -0.5f, 0, 1}));
    EXPECT_EQ(fx.m_params[3].m_initialValues, (std::vector<float>{1}));
    EXPECT_EQ(fx.m_params[4].m_arraySize, 3);
    EXPECT_EQ(fx.m_params[5].m_type, FT_Texture);
    const SFxParamDesc& image = fx.m_params[6];
    EXPECT_EQ(image.m_type, FT_Sampler2D);
    ASSERT_EQ(image.m_samplerStates.size(), 4u);
    EXPECT_EQ(image.m_samplerStates[0].m_value.m_words, (std::vector<std::string>{"tex0"}));
    EXPECT_EQ(image.m_samplerStates[3].m_name, "AddressV");

    ASSERT_EQ(fx.m_techniques.size(), 2u);
    const SFxTechniqueDesc& best = fx.m_techniques[0];
    EXPECT_EQ(best.m_name, "Best");
    ASSERT_EQ(best.m_passes.size(), 2u);
    const SFxPassDesc& p0 = best.m_passes[0];
    EXPECT_EQ(p0.m_name, "P0");
    ASSERT_GE(p0.m_vertexProgram, 0);
    const SFxStateValue& vs = p0.m_states[p0.m_vertexProgram].m_value;
    EXPECT_TRUE(vs.m_isCompile);
    EXPECT_EQ(vs.m_profile, "vp40");
    EXPECT_EQ(vs.m_entry, "mainVS");
    EXPECT_EQ(vs.m_arguments, (std::vector<std::string>{"float2(1, 2).x", "3"}));
    EXPECT_TRUE(p0.m_states[p0.m_fragmentProgram].m_value.m_arguments.empty());
    EXPECT_EQ(p0.m_states[3].m_value.m_words, (std::vector<std::string>{"SrcAlpha", "OneMinusSrcAlpha"}));
    EXPECT_EQ(p0.m_states[4].m_value.m_words, (std::vector<std::string>{"true", "true", "true", "false"}));
    EXPECT_EQ(p0.m_states[5].m_value.m_words, (std::vector<std::string>{"-0.5"}));
    EXPECT_EQ(best.m_passes[1].m_name, "");
    EXPECT_EQ(best.m_passes[1].m_vertexProgram, -1);
    EXPECT_EQ(fx.m_techniques[1].m_passes[0].m_fragmentProgram, 0) << "PixelShader is the fragment program";

    // The code keeps the shading code on its own lines and nothing else.
    const std::string& code = fx.m_code;
    EXPECT_EQ(std::count(code.begin(), code.end(), '\n'), std::count(kEffect, kEffect + strlen(kEffect), '\n'));
    for (const char* gone : {"technique", "sampler_state", "UIName", "tex0", "compile", "0.5", "float4(1"})
        EXPECT_EQ(code.find(gone), std::string::npos) << gone;
    for (const char* kept : {"float4x4 WorldViewProj : WORLDVIEWPROJECTION", "uniform float time : TIME",
                             "sampler2D image", "static const float2 offsets[2] = { float2(0, 1), float2(1, 0) };",
                             "float weights[3]"})
        EXPECT_NE(code.find(kept), std::string::npos) << kept;
    EXPECT_EQ(LineOf(code, "float4 mainPS"), LineOf(kEffect, "float4 mainPS"));
}

TEST(FxParser, BrokenStructureNamesTheLineAsTheSourceDoes)
{
    struct SCase
    {
        const char* text;
        const char* message;
    };
    const SCase cases[] = {
        {"float a;\ntechnique T {\n pass P { BlendEnable = true }\n}\n", "test.cgfx(3): unbalanced '}' in the value of 'BlendEnable'"},
        {"technique T {\n pass P {\n", "test.cgfx(3): unexpected end of the text in a state block"},
        {"technique T { shader X; }", "test.cgfx(1): expected 'pass' in technique 'T', found 'shader'"},
        {"#line 40 \"shader.cgh\"\nfloat4 f() {\n return 1;\n", "shader.cgh(40): '{' is never closed"},
        {"float x = 1.5.5;", "test.cgfx(1): '1.5.5' is not a number in the value of 'x'"},
        {"technique T { pass P { VertexProgram = compile vp40; } }", "test.cgfx(1): expected an entry function after 'compile vp40'"},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.text);
        CFxParser parser;
        SFxEffectDesc fx;
        EXPECT_FALSE(parser.Parse(c.text, "test.cgfx", fx));
        EXPECT_EQ(parser.GetError(), c.message);
    }
}
