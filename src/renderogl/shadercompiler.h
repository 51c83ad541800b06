#pragma once

#include "renderogl/shadertypes.h"

#include <string>
#include <string_view>

// Compiles one program of an effect, written in the Cg shading dialect, to
// GLSL 330 for the context: glslang's HLSL front end makes SPIR-V, the
// global parameters are split out of their block, and SPIRV-Cross writes
// GLSL. The dialect's Cg parts (fixed types, fmod with truncation, lit,
// tex2D-style sampling, compile arguments, POSITION in structs) are covered
// on the way.
class CShaderCompiler
{
public:
    // False with a listing in `errors`: one message a line, as
    // "name(line) : error: text", the name and line those of the source text
    // after its #line directives.
    static bool Compile(const SShaderSource& source, SCompiledShader& result, std::string& errors);

    // The stage a Cg profile compiles for ("vp40", "vs_3_0", "arbfp1", ...);
    // false for a name that is not known.
    static bool StageOfProfile(std::string_view profile, EShaderStage& stage);
};
