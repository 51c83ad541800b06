#pragma once

#include "renderogl/shadertypes.h"

#include <cstdint>
#include <string>
#include <vector>

// glslang gathers an HLSL program's global parameters into one uniform block
// ("$Global"). OpenGL programs of different stages link their uniforms by
// name, so this rewrites a SPIR-V module to hold each member the program
// uses as a uniform variable of its own, named as in the source, and lists
// the program's uniforms (those plain values and its samplers).
//
// A plain uniform has no memory layout: a matrix loaded with
// glUniformMatrix4fv(transpose false) has the source's rows as the 4-float
// groups, whatever row_major or column_major said.
class CSpirvUniformSplitter
{
public:
    struct SUniform
    {
        uint32_t id = 0; // the variable in the rewritten module
        SShaderUniform info;
    };

    // False with a message for a module this cannot read.
    static bool Split(std::vector<uint32_t>& words, std::vector<SUniform>& uniforms, std::string& error);
};
