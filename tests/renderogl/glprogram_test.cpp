#include "support/glfixture.h"

#include "renderogl/glprogram.h"
#include "renderogl/glprogramcache.h"
#include "renderogl/renderogl.h"
#include "renderogl/shadercompiler.h"

#include <GL/glew.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace {

struct SColor
{
    int r, g, b;
};

std::ostream& operator<<(std::ostream& out, const SColor& c)
{
    return out << "(r " << c.r << " g " << c.g << " b " << c.b << ")";
}

bool Near(const SColor& a, const SColor& b)
{
    return std::abs(a.r - b.r) <= 2 && std::abs(a.g - b.g) <= 2 && std::abs(a.b - b.b) <= 2;
}

// A 2x1 texture, red on the left and green on the right, sampled without
// filtering.
class CTwoTexels
{
public:
    CTwoTexels()
    {
        const unsigned char texels[] = {255, 0, 0, 255, 0, 255, 0, 255};
        glGenTextures(1, &m_id);
        glBindTexture(GL_TEXTURE_2D, m_id);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 2, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, texels);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        glBindTexture(GL_TEXTURE_2D, 0);
    }
    ~CTwoTexels() { glDeleteTextures(1, &m_id); }
    CTwoTexels(const CTwoTexels&) = delete;
    CTwoTexels& operator=(const CTwoTexels&) = delete;
    GLuint Id() const { return m_id; }

private:
    GLuint m_id = 0;
};

const char* const s_quadVertex = R"(
float4x4 wvp : WORLDVIEWPROJECTION;
struct VOut { float4 pos : POSITION; float2 uv : TEXCOORD0; float4 color : COLOR0; };
VOut main(float3 pos : POSITION, float2 uv : TEXCOORD0, float4 color : COLOR0, uniform float depth)
{
    VOut o;
    o.pos = mul(float4(pos.xy, depth, 1), wvp);
    o.uv = uv;
    o.color = color;
    return o;
}
)";

const char* const s_textureFragment = R"(
sampler2D image;
float4 tint;
struct VOut { float4 pos : POSITION; float2 uv : TEXCOORD0; float4 color : COLOR0; };
float4 main(VOut i) : COLOR { return tex2D(image, i.uv) * i.color * tint; }
)";

// Cg's fmod truncates: -fmod(-1.25, 1) is 0.25 where a flooring mod gives
// -0.75. lit(0.5, 0.5, 2).z is 0.5 squared.
const char* const s_arithmeticFragment = R"(
float negative;
int index;
static const float palette[3] = { 0.1, 0.9, 0.5 };
float4 main(float2 uv : TEXCOORD0, uniform float blueScale) : COLOR
{
    return float4(-fmod(negative, 1.0), palette[index], lit(0.5, 0.5, 2).z * blueScale, 1);
}
)";

SShaderSource Source(std::string_view code, EShaderStage stage, std::vector<std::string> args = {})
{
    SShaderSource s;
    s.code = code;
    s.stage = stage;
    s.entry = "main";
    s.entryArgs = std::move(args);
    return s;
}

class GLProgram : public CGLRenderTest
{
protected:
    void TearDown() override
    {
        glUseProgram(0);
        CGLRenderTest::TearDown();
    }

    bool Compile(const SShaderSource& source, SCompiledShader& shader)
    {
        std::string errors;
        const bool ok = CShaderCompiler::Compile(source, shader, errors);
        EXPECT_TRUE(ok) << errors;
        return ok;
    }

    void Draw(CGLProgram& program)
    {
        const float blue[4] = {0, 0, 1, 1};
        m_render->Clear(blue, 1.0f, CF_Color | CF_Depth);
        program.Use();
        m_render->DrawFullScreenQuad();
        m_pixels.assign(Width * Height * 3, 0);
        m_render->ReadPixels(m_pixels.data());
    }

    // x and y from the top left, as on screen.
    SColor At(int x, int y) const
    {
        const unsigned char* p = &m_pixels[((Height - 1 - y) * Width + x) * 3];
        return {p[2], p[1], p[0]};
    }

    std::vector<unsigned char> m_pixels;
};

} // namespace

TEST_F(GLProgram, DrawsWithParametersSetByNameAndMatricesInBothLoadings)
{
    SCompiledShader vs, fs;
    ASSERT_TRUE(Compile(Source(s_quadVertex, EShaderStage::Vertex, {"0.25"}), vs));
    ASSERT_TRUE(Compile(Source(s_textureFragment, EShaderStage::Fragment), fs));
    CGLProgram program;
    std::string errors;
    ASSERT_TRUE(program.Link(vs, fs, errors)) << errors;
    CTwoTexels texture;
    program.SetTexture("image", texture.Id(), GL_TEXTURE_2D);
    const float tint[4] = {1, 0.5f, 1, 1};
    program.SetFloats("tint", tint);

    // Row vectors: the last row translates. This one squeezes the quad into
    // the left half of the target.
    const float leftHalf[16] = {0.5f, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -0.5f, 0, 0, 1};
    float transposed[16];
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            transposed[c * 4 + r] = leftHalf[r * 4 + c];

    const SColor red{255, 0, 0}, halfGreen{0, 128, 0}, blue{0, 0, 255};
    auto expectLeftHalf = [&](const char* what) {
        EXPECT_PRED2(Near, At(2, 8), red) << what;
        EXPECT_PRED2(Near, At(Width / 4 + 2, 8), halfGreen) << what;
        EXPECT_PRED2(Near, At(Width / 2 + 2, 8), blue) << what;
        EXPECT_PRED2(Near, At(Width - 1, 0), blue) << what;
    };
    program.SetMatrix("wvp", leftHalf, EMatrixLoad::Rows);
    Draw(program);
    expectLeftHalf("rows");

    program.SetMatrix("wvp", transposed, EMatrixLoad::Columns);
    Draw(program);
    expectLeftHalf("columns");

    // The same floats taken the other way are another matrix: the
    // translation lands in w and the picture changes.
    program.SetMatrix("wvp", leftHalf, EMatrixLoad::Columns);
    Draw(program);
    EXPECT_FALSE(Near(At(Width / 2 + 2, 8), blue) && Near(At(2, 8), red) && Near(At(Width / 4 + 2, 8), halfGreen));

    // Plain floats fill a matrix row by row.
    program.SetFloats("wvp", leftHalf);
    Draw(program);
    expectLeftHalf("floats");

    // Identity: the whole target, left half red and right half green.
    const float identity[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    program.SetMatrix(program.Find("wvp"), identity, EMatrixLoad::Rows);
    Draw(program);
    EXPECT_PRED2(Near, At(0, 0), red);
    EXPECT_PRED2(Near, At(Width - 1, Height - 1), halfGreen);

    // Unknown names are ignored, not fatal.
    EXPECT_EQ(program.Find("nothing"), -1);
    program.SetFloats("nothing", tint);
}

TEST_F(GLProgram, CgArithmeticAndConstantsComeOutAsInCg)
{
    SCompiledShader vs, fs;
    ASSERT_TRUE(Compile(Source(s_quadVertex, EShaderStage::Vertex, {"0"}), vs));
    ASSERT_TRUE(Compile(Source(s_arithmeticFragment, EShaderStage::Fragment, {"3.0"}), fs));
    CGLProgram program;
    std::string errors;
    ASSERT_TRUE(program.Link(vs, fs, errors)) << errors;
    const float identity[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    program.SetMatrix("wvp", identity, EMatrixLoad::Rows);
    program.SetFloats("negative", std::vector<float>{-1.25f});
    for (auto [index, green] : {std::pair{0, 26}, {1, 230}, {2, 128}}) {
        program.SetInt("index", index);
        Draw(program);
        EXPECT_PRED2(Near, At(5, 5), (SColor{64, green, 191})) << "index " << index;
    }
}

TEST_F(GLProgram, LinkRefusesProgramsThatDoNotFit)
{
    SCompiledShader vs, fs, wrongUniform;
    ASSERT_TRUE(Compile(Source(s_quadVertex, EShaderStage::Vertex, {"0"}), vs));
    ASSERT_TRUE(Compile(Source("float4 main(float4 uv : TEXCOORD1) : COLOR { return uv; }", EShaderStage::Fragment),
                        fs));
    CGLProgram program;
    std::string errors;
    EXPECT_FALSE(program.Link(vs, fs, errors));
    EXPECT_FALSE(program.IsLinked());
    EXPECT_NE(errors.find("TEXCOORD1"), std::string::npos) << errors;
    EXPECT_NE(errors.find("vertex program does not write"), std::string::npos) << errors;

    // One name, two types.
    ASSERT_TRUE(Compile(Source("float4 wvp; float4 main() : COLOR { return wvp; }", EShaderStage::Fragment),
                        wrongUniform));
    EXPECT_FALSE(program.Link(vs, wrongUniform, errors));
    EXPECT_NE(errors.find("'wvp' is float4x4 in the vertex program and float4"), std::string::npos) << errors;

    // Stages the wrong way round.
    EXPECT_FALSE(program.Link(fs, vs, errors));

    // A program reading a varying that the vertex program writes narrower links.
    ASSERT_TRUE(
        Compile(Source("float4 main(float4 uv : TEXCOORD0) : COLOR { return uv; }", EShaderStage::Fragment), fs));
    EXPECT_TRUE(program.Link(vs, fs, errors)) << errors;
    EXPECT_TRUE(program.IsLinked());
}

TEST_F(GLProgram, CacheCompilesAndLinksEachPairOnce)
{
    CGLProgramCache cache;
    std::string errors;
    const SShaderSource vs = Source(s_quadVertex, EShaderStage::Vertex, {"0"});
    const SShaderSource fs = Source(s_textureFragment, EShaderStage::Fragment);
    std::shared_ptr<CGLProgram> first = cache.Get(vs, fs, errors);
    ASSERT_TRUE(first) << errors;
    EXPECT_TRUE(first->IsLinked());
    EXPECT_EQ(cache.Get(vs, fs, errors), first);
    EXPECT_EQ(cache.CompiledCount(), 2u);
    EXPECT_EQ(cache.ProgramCount(), 1u);

    // Other compile arguments are another program.
    std::shared_ptr<CGLProgram> other = cache.Get(Source(s_quadVertex, EShaderStage::Vertex, {"0.5"}), fs, errors);
    ASSERT_TRUE(other) << errors;
    EXPECT_NE(other, first);

    // Other text that compiles to the same GLSL shares the linked program.
    const std::string commented = std::string("// the same program\n") + s_quadVertex;
    EXPECT_EQ(cache.Get(Source(commented, EShaderStage::Vertex, {"0"}), fs, errors), first);
    EXPECT_EQ(cache.CompiledCount(), 4u);
    EXPECT_EQ(cache.ProgramCount(), 2u);

    // Failures give null and are not kept.
    EXPECT_FALSE(cache.Get(Source("float4 main( : COLOR", EShaderStage::Vertex), fs, errors));
    EXPECT_NE(errors, "");
    EXPECT_EQ(cache.CompiledCount(), 4u);

    // After a clear the holders keep theirs and the cache makes new ones.
    cache.Clear();
    EXPECT_EQ(cache.ProgramCount(), 0u);
    EXPECT_TRUE(first->IsLinked());
    std::shared_ptr<CGLProgram> again = cache.Get(vs, fs, errors);
    ASSERT_TRUE(again) << errors;
    EXPECT_NE(again, first);
    EXPECT_NE(again->Id(), first->Id());
}
