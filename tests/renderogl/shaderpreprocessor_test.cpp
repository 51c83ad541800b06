#include "renderogl/shaderpreprocessor.h"

#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

// The file name and line that line `n` (1-based) of preprocessor output
// stands for, following its #line directives.
std::pair<std::string, int> SourceOf(const std::string& output, int n)
{
    std::istringstream in(output);
    std::string line, file = "?";
    int current = 1;
    for (int i = 1; std::getline(in, line) && i < n; ++i) {
        if (line.starts_with("#line ")) {
            std::istringstream directive(line.substr(6));
            directive >> current;
            std::string name;
            if (directive >> name)
                file = name.substr(1, name.size() - 2);
        } else {
            ++current;
        }
    }
    return {file, current};
}

int LineContaining(const std::string& output, const std::string& text)
{
    std::istringstream in(output);
    std::string line;
    for (int n = 1; std::getline(in, line); ++n)
        if (line.find(text) != std::string::npos)
            return n;
    return 0;
}

} // namespace

TEST(ShaderPreprocessor, ResolvesIncludesAndConditionalsAndKeepsLinesTraceable)
{
    CTempDir nodedata;
    WriteFile(nodedata.File("shader.cgh"), "#define GAIN 3\n"
                                           "\n"
                                           "float4 Helper(float4 x) { return x * GAIN; }\n");
    const std::string effect = "// colours\n"                                     // 1
                               "#include \"shader.cgh\"\n"                        // 2
                               "float time : TIME <string UIName = \"Time\";> = 1;\n" // 3
                               "#if GAIN > 2\n"                                   // 4
                               "float bigGain;\n"                                 // 5
                               "#else\n"                                          // 6
                               "float smallGain;\n"                               // 7
                               "#endif\n"                                         // 8
                               "#ifdef NOT_DEFINED\n"                             // 9
                               "float hidden;\n"                                  // 10
                               "#endif\n"                                         // 11
                               "float4 ps(float2 uv : TEXCOORD0) : COLOR { return Helper(uv.xyxy); }\n" // 12
                               "technique Main { pass P0 {\n"                     // 13
                               "  FragmentProgram = compile fp40 ps(0.5, float2(1, 2));\n" // 14
                               "  DepthTestEnable = false; } }\n";                // 15
    std::string output, errors;
    ASSERT_TRUE(CShaderPreprocessor::Preprocess(effect, "bloom.cgfx", nodedata.Path(), output, errors)) << errors;
    EXPECT_EQ(errors, "");

    EXPECT_NE(output.find("float bigGain"), std::string::npos);
    EXPECT_EQ(output.find("smallGain"), std::string::npos);
    EXPECT_EQ(output.find("hidden"), std::string::npos);
    EXPECT_EQ(output.find("colours"), std::string::npos) << "comments go";
    // A macro from the include is expanded in the effect's own code.
    EXPECT_NE(output.find("return x * 3"), std::string::npos);
    // The effect structure passes as tokens: annotations, strings, compile statements.
    EXPECT_NE(output.find("\"Time\""), std::string::npos);
    EXPECT_NE(output.find("technique Main"), std::string::npos);
    EXPECT_NE(output.find("compile fp40 ps(0.5, float2(1, 2))"), std::string::npos);

    // Every line can be traced back to its file and line.
    struct
    {
        std::string text;
        std::string file;
        int line;
    } const cases[] = {
        {"Helper(float4 x)", "shader.cgh", 3},
        {"float time", "bloom.cgfx", 3},
        {"bigGain", "bloom.cgfx", 5},
        {"float4 ps", "bloom.cgfx", 12},
        {"DepthTestEnable", "bloom.cgfx", 15},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const int n = LineContaining(output, c.text);
        ASSERT_NE(n, 0);
        EXPECT_EQ(SourceOf(output, n), std::make_pair(c.file, c.line));
    }
}

TEST(ShaderPreprocessor, ReportsMissingIncludesAndErrorDirectives)
{
    CTempDir nodedata;
    std::string output, errors;
    EXPECT_FALSE(CShaderPreprocessor::Preprocess("float a;\n#include \"missing.cgh\"\n", "fx", nodedata.Path(), output,
                                                 errors));
    EXPECT_NE(errors.find("missing.cgh"), std::string::npos) << errors;
    EXPECT_NE(errors.find("fx(2) : error"), std::string::npos) << errors;

    EXPECT_FALSE(CShaderPreprocessor::Preprocess("#if 1\n#error no support here\n#endif\n", "fx", nodedata.Path(),
                                                 output, errors));
    EXPECT_NE(errors.find("no support here"), std::string::npos) << errors;

    EXPECT_FALSE(CShaderPreprocessor::Preprocess("#if 1\nfloat a;\n", "fx", nodedata.Path(), output, errors));
    EXPECT_NE(errors.find("fx("), std::string::npos) << errors;
}
