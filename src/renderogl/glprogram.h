#pragma once

#include "renderogl/globjects.h"
#include "renderogl/shadertypes.h"

#include <GL/glew.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

// How 16 floats fill a float4x4: Rows takes them as the matrix's rows, one
// after the other, Columns as its columns.
enum class EMatrixLoad
{
    Rows,
    Columns,
};

// A vertex and a fragment program linked into one GL program, with its
// uniforms found by the names of the shading code. Setters keep the values
// and Use() hands what changed to GL, so parameters may be set before the
// program is bound, as effects do. Move-only; the context must be current
// when it is linked, used and destroyed.
class CGLProgram
{
public:
    struct SParam
    {
        SShaderUniform info;
        GLint location = -1;  // -1 when the linker dropped it
        GLenum glType = 0;
        int textureUnit = -1; // samplers only
        int components = 0;   // floats of one element
        std::vector<float> values;
        int intValue = 0;
        GLuint texture = 0;
        GLenum target = 0;
        bool dirty = false;
    };

    CGLProgram() = default;
    CGLProgram(CGLProgram&&) noexcept = default;
    CGLProgram& operator=(CGLProgram&&) noexcept = default;
    CGLProgram(const CGLProgram&) = delete;
    CGLProgram& operator=(const CGLProgram&) = delete;

    // Compiles both GLSL texts, binds the vertex attributes to their
    // numbers and links. False with the reason in `errors`; a program that
    // linked is one the context can run.
    bool Link(const SCompiledShader& vertex, const SCompiledShader& fragment, std::string& errors);
    bool IsLinked() const { return m_program.Id() != 0; }
    GLuint Id() const { return m_program.Id(); }

    // Binds the program, uploads the values set since the last time and
    // binds the samplers' textures to their units.
    void Use();

    // The index of a uniform of either program by its source name, -1 if
    // neither uses it.
    int Find(std::string_view name) const;
    const std::vector<SParam>& Params() const { return m_params; }

    // float to float4 and their arrays: as many values as the uniform
    // holds, or fewer. A matrix takes its values row by row. Ignored for
    // other types and for -1.
    void SetFloats(int param, std::span<const float> values);
    void SetFloat(int param, float x) { SetFloats(param, std::span<const float>(&x, 1)); }
    void SetFloat4(int param, float x, float y, float z, float w)
    {
        const float v[4] = {x, y, z, w};
        SetFloats(param, v);
    }
    // A float4x4 (or float3x3, float2x2 from their first 9 or 4 values).
    void SetMatrix(int param, const float* m, EMatrixLoad load);
    // int and bool uniforms.
    void SetInt(int param, int value);
    // The texture a sampler reads; 0 unbinds.
    void SetTexture(int param, GLuint texture, GLenum target);

    // By name, for callers that set a value now and then.
    void SetFloats(std::string_view name, std::span<const float> values) { SetFloats(Find(name), values); }
    void SetMatrix(std::string_view name, const float* m, EMatrixLoad load) { SetMatrix(Find(name), m, load); }
    void SetInt(std::string_view name, int value) { SetInt(Find(name), value); }
    void SetTexture(std::string_view name, GLuint texture, GLenum target) { SetTexture(Find(name), texture, target); }

private:
    bool AddUniforms(const SCompiledShader& shader, const char* stageName, std::string& errors);
    void Upload(SParam& p);

    CGLProgramName m_program{GLEmpty};
    std::vector<SParam> m_params;
};
