#include "renderogl/shadercompiler.h"

#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

SShaderSource Source(std::string_view code, EShaderStage stage, std::string_view entry,
                     std::vector<std::string> args = {})
{
    SShaderSource s;
    s.code = code;
    s.stage = stage;
    s.entry = entry;
    s.entryArgs = std::move(args);
    s.name = "test.cgfx";
    return s;
}

const SShaderUniform* Find(const SCompiledShader& shader, std::string_view name)
{
    auto it = std::find_if(shader.uniforms.begin(), shader.uniforms.end(),
                           [&](const SShaderUniform& u) { return u.name == name; });
    return it == shader.uniforms.end() ? nullptr : &*it;
}

const char* const s_vertex = R"(
float4x4 wvp : WORLDVIEWPROJECTION;
float time;
float4 weights[3];
bool useWeights;
int pick;
float notUsed;
struct VIn { float3 pos : POSITION; float3 normal : NORMAL; float2 uv : TEXCOORD0; };
struct VOut { float4 pos : POSITION; half2 uv : TEXCOORD0; fixed4 color : COLOR0; float fog : FOG; };
VOut main(VIn i, float4 color : COLOR0, uniform float scale, uniform float2 offset, uniform float4 input)
{
    VOut o;
    o.pos = mul(float4(i.pos * scale + float3(offset, 0), 1), wvp);
    o.uv = i.uv + i.normal.xy;
    o.color = color * input * (useWeights ? weights[pick] : 1);
    o.fog = time;
    return o;
}
)";

} // namespace

TEST(ShaderCompiler, VertexProgramReflectsItsUniformsAttributesAndVaryings)
{
    SCompiledShader vs;
    std::string errors;
    ASSERT_TRUE(CShaderCompiler::Compile(Source(s_vertex, EShaderStage::Vertex, "main", {"0.5", "float2(1, 2)"}), vs,
                                         errors))
        << errors;
    EXPECT_TRUE(vs.glsl.starts_with("#version 330")) << vs.glsl;

    struct
    {
        std::string name;
        EShaderParamType type;
        std::string semantic;
        int arraySize;
    } const expected[] = {
        {"wvp", EShaderParamType::Float4x4, "WORLDVIEWPROJECTION", 0},
        {"time", EShaderParamType::Float, "", 0},
        {"weights", EShaderParamType::Float4, "", 3},
        {"useWeights", EShaderParamType::Bool, "", 0},
        {"pick", EShaderParamType::Int, "", 0},
        // The uniform parameter that compile gave no argument for.
        {"input", EShaderParamType::Float4, "", 0},
    };
    for (const auto& e : expected) {
        const SShaderUniform* u = Find(vs, e.name);
        ASSERT_NE(u, nullptr) << e.name << "\n" << vs.glsl;
        EXPECT_EQ(u->type, e.type) << e.name;
        EXPECT_EQ(u->semantic, e.semantic) << e.name;
        EXPECT_EQ(u->arraySize, e.arraySize) << e.name;
        EXPECT_NE(vs.glsl.find(" " + u->glslName + (u->arraySize ? "[" : ";")), std::string::npos) << u->glslName;
    }
    // A GLSL reserved word is renamed in the text but found by its own name.
    EXPECT_NE(Find(vs, "input")->glslName, "input");
    // Compile arguments are constants, unused globals are not there.
    EXPECT_EQ(Find(vs, "scale"), nullptr);
    EXPECT_EQ(Find(vs, "offset"), nullptr);
    EXPECT_EQ(Find(vs, "notUsed"), nullptr);
    EXPECT_EQ(vs.glsl.find("$Global"), std::string::npos);

    std::vector<std::pair<std::string, int>> attributes;
    for (const SShaderAttribute& a : vs.attributes) {
        attributes.emplace_back(a.semantic, a.location);
        EXPECT_NE(vs.glsl.find("layout(location = " + std::to_string(a.location) + ") in vec4 " + a.glslName),
                  std::string::npos)
            << vs.glsl;
    }
    std::sort(attributes.begin(), attributes.end());
    EXPECT_EQ(attributes, (std::vector<std::pair<std::string, int>>{
                              {"COLOR0", 3}, {"NORMAL", 2}, {"POSITION", 0}, {"TEXCOORD0", 8}}));

    std::vector<std::string> varyings = vs.varyings;
    std::sort(varyings.begin(), varyings.end());
    EXPECT_EQ(varyings, (std::vector<std::string>{"COLOR0", "FOG", "TEXCOORD0"}));
    // Varyings are all four wide, whatever the program wrote.
    EXPECT_NE(vs.glsl.find("out vec4 var_TEXCOORD0;"), std::string::npos) << vs.glsl;
    EXPECT_NE(vs.glsl.find("out vec4 var_FOG;"), std::string::npos) << vs.glsl;
    // POSITION in a struct reaches the pipeline.
    EXPECT_NE(vs.glsl.find("gl_Position ="), std::string::npos) << vs.glsl;
}

TEST(ShaderCompiler, AcceptsTheCgDialect)
{
    struct
    {
        const char* what;
        EShaderStage stage;
        const char* code;
    } const cases[] = {
        {"samplers of every kind", EShaderStage::Fragment, R"(
            sampler1D s1; sampler2D s2; sampler3D s3; samplerCUBE sc;
            float4 main(float4 uv : TEXCOORD0) : COLOR {
                return tex1D(s1, uv.x) + tex2D(s2, uv.xy) + tex3D(s3, uv.xyz) + texCUBE(sc, uv.xyz)
                     + tex2Dproj(s2, uv) + tex2Dlod(s2, uv) + tex2Dbias(s2, uv);
            })"},
        {"intrinsics", EShaderStage::Fragment, R"(
            float4 main(float2 uv : TEXCOORD0, float4 c : COLOR0) : COLOR {
                return lerp(c, saturate(c * 2), frac(uv.x)) + fmod(uv.y, 0.3) + lit(uv.x, uv.y, 4);
            })"},
        {"half, fixed and static const arrays", EShaderStage::Fragment, R"(
            static const half3 colors[2] = { half3(1, 0, 0), half3(0, 1, 0) };
            fixed4 main(fixed2 uv : TEXCOORD0) : COLOR { return fixed4(colors[uv.x > 0.5 ? 1 : 0], 1); })"},
        {"out parameters, depth and face", EShaderStage::Fragment, R"(
            void main(float2 uv : TEXCOORD0, float face : FACE, out float4 color : COLOR, out float depth : DEPTH) {
                color = float4(uv, face, 1); depth = 0.5;
            })"},
        {"vertex program with out parameters and a point size", EShaderStage::Vertex, R"(
            float4x4 wvp;
            void main(float4 pos : POSITION, float4 color : COLOR, out float4 oPos : POSITION,
                      out float4 oColor : COLOR0, out float size : PSIZE) {
                oPos = mul(pos, wvp); oColor = color; size = 4;
            })"},
        {"inout struct and helper functions", EShaderStage::Vertex, R"(
            struct V { float4 pos : POSITION; float2 uv : TEXCOORD3; };
            float2 Twist(float2 uv) { return uv.yx; }
            void main(inout V v) { v.uv = Twist(v.uv); })"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        SCompiledShader shader;
        std::string errors;
        EXPECT_TRUE(CShaderCompiler::Compile(Source(c.code, c.stage, "main"), shader, errors)) << errors;
    }
}

TEST(ShaderCompiler, ErrorsNameTheLineOfTheSource)
{
    CTempDir nodedata;
    WriteFile(nodedata.File("shader.cgh"), "float4 Helper(float4 x)\n{\n    return x * missingFactor;\n}\n");
    struct
    {
        const char* what;
        const char* code;
        const char* entry;
        std::vector<std::string> args;
        std::string expected;
    } const cases[] = {
        {"syntax error", "float a;\n\nfloat4 main() : COLOR\n{\n    return float4(a a);\n}\n", "main", {},
         "test.cgfx(5) : error"},
        {"after #line", "float a;\n#line 70 \"bloom.cgfx\"\nfloat4 main() : COLOR\n{\n    return nothing;\n}\n",
         "main", {}, "bloom.cgfx(72) : error"},
        {"in an include", "#include \"shader.cgh\"\nfloat4 main() : COLOR { return Helper(1); }\n", "main", {},
         "shader.cgh(3) : error"},
        {"missing include", "#include \"nothere.cgh\"\nfloat4 main() : COLOR { return 1; }\n", "main", {},
         "nothere.cgh"},
        {"unknown entry", "float4 main() : COLOR { return 1; }\n", "other", {}, "'other' not found"},
        {"too many arguments", "float4 main(uniform float a) : COLOR { return a; }\n", "main", {"1", "2"},
         "1 uniform parameters for 2 compile arguments"},
        {"varying without semantic", "float4 main(float2 uv) : COLOR { return uv.xyxy; }\n", "main", {},
         "'lumora_p0' has no semantic"},
        {"vertex number in a fragment program", "float4 main(int id : VERTEXID) : COLOR { return id; }\n", "main", {},
         "semantic VERTEXID, which only a vertex program reads"},
        {"argument that does not compile", "float4 main(uniform float a) : COLOR { return a; }\n", "main",
         {"unknownConstant"}, "entry wrapper(4) : error: 'unknownConstant'"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        SShaderSource source = Source(c.code, EShaderStage::Fragment, c.entry, c.args);
        source.includeDir = nodedata.Path();
        SCompiledShader shader;
        std::string errors;
        EXPECT_FALSE(CShaderCompiler::Compile(source, shader, errors));
        EXPECT_NE(errors.find(c.expected), std::string::npos) << errors;
    }
}

TEST(ShaderCompiler, StageOfProfile)
{
    struct
    {
        const char* profile;
        bool known;
        EShaderStage stage;
    } const cases[] = {
        {"vp40", true, EShaderStage::Vertex},      {"vs_3_0", true, EShaderStage::Vertex},
        {"arbvp1", true, EShaderStage::Vertex},    {"glslv", true, EShaderStage::Vertex},
        {"fp40", true, EShaderStage::Fragment},    {"ps_2_0", true, EShaderStage::Fragment},
        {"ARBFP1", true, EShaderStage::Fragment},  {"glslf", true, EShaderStage::Fragment},
        {"gs_4_0", false, EShaderStage::Vertex},   {"", false, EShaderStage::Vertex},
    };
    SShaderSource source = Source("float4 main() : COLOR { return 1; }", EShaderStage::Fragment, "main");
    source.profile = "vp40";
    SCompiledShader shader;
    std::string errors;
    EXPECT_FALSE(CShaderCompiler::Compile(source, shader, errors));
    EXPECT_NE(errors.find("profile vp40 compiles vertex programs"), std::string::npos) << errors;
    source.profile = "fp40";
    EXPECT_TRUE(CShaderCompiler::Compile(source, shader, errors)) << errors;

    for (const auto& c : cases) {
        SCOPED_TRACE(c.profile);
        EShaderStage stage = EShaderStage::Vertex;
        EXPECT_EQ(CShaderCompiler::StageOfProfile(c.profile, stage), c.known);
        if (c.known) {
            EXPECT_EQ(stage, c.stage);
        }
    }
}
