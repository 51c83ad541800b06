#pragma once

#include <string>
#include <string_view>
#include <vector>

// What goes into and comes out of the compilation of one shader program.

enum class EShaderStage
{
    Vertex,
    Fragment,
};

// The type of a uniform as the shading code declares it. Cg has no unsigned
// type, so a uniform stored as unsigned (glslang keeps bool that way) is Bool.
enum class EShaderParamType
{
    Float,
    Float2,
    Float3,
    Float4,
    Float2x2,
    Float3x3,
    Float4x4,
    Bool,
    Int,
    Sampler1D,
    Sampler2D,
    Sampler3D,
    SamplerCube,
    Other,
};

struct SShaderUniform
{
    std::string name;      // as in the shading code: "time", "wvp"
    std::string glslName;  // in the GLSL text; differs when a GLSL reserved word was renamed
    EShaderParamType type = EShaderParamType::Other;
    std::string semantic;  // upper case, empty when none
    int arraySize = 0;     // 0 for a single value
};

// A vertex input: GLSL name and the generic attribute number its semantic
// stands for (POSITION 0, NORMAL 2, COLOR0 3, TEXCOORDn 8+n, ...).
struct SShaderAttribute
{
    std::string semantic;
    std::string glslName;
    int location = 0;
};

struct SShaderSource
{
    std::string_view code;  // shading code; may carry #line directives
    EShaderStage stage = EShaderStage::Vertex;
    std::string_view entry; // the entry function
    std::vector<std::string> entryArgs; // `compile vp40 main(0.5, float2(1, 2))` gives "0.5", "float2(1, 2)"
    std::string_view profile; // only its stage matters: a known profile of the other stage is an error
    std::string_view name = "shader"; // names the code in errors until a #line names it otherwise
    std::string includeDir; // where #include "file" looks; empty for [apppath]nodedata
};

struct SCompiledShader
{
    EShaderStage stage = EShaderStage::Vertex;
    std::string glsl;
    std::vector<SShaderUniform> uniforms;     // those the program uses
    std::vector<SShaderAttribute> attributes; // vertex programs only
    // Semantics of the varyings: written by a vertex program, read by a fragment program.
    std::vector<std::string> varyings;
};

