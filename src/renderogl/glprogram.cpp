#include "renderogl/glprogram.h"

#include <algorithm>

namespace {

const char* TypeName(EShaderParamType type)
{
    static constexpr const char* s_names[] = {"float",    "float2",    "float3",    "float4",    "float2x2",
                                              "float3x3", "float4x4",  "bool",      "int",       "sampler1D",
                                              "sampler2D", "sampler3D", "samplerCUBE", "other"};
    return s_names[static_cast<int>(type)];
}

int FloatComponents(EShaderParamType type)
{
    switch (type) {
    case EShaderParamType::Float: return 1;
    case EShaderParamType::Float2: return 2;
    case EShaderParamType::Float3: return 3;
    case EShaderParamType::Float4: return 4;
    case EShaderParamType::Float2x2: return 4;
    case EShaderParamType::Float3x3: return 9;
    case EShaderParamType::Float4x4: return 16;
    default: return 0;
    }
}

bool IsSampler(EShaderParamType type)
{
    return type >= EShaderParamType::Sampler1D && type <= EShaderParamType::SamplerCube;
}

std::string InfoLog(GLuint object, bool program)
{
    GLint length = 0;
    program ? glGetProgramiv(object, GL_INFO_LOG_LENGTH, &length) : glGetShaderiv(object, GL_INFO_LOG_LENGTH, &length);
    std::string log(static_cast<size_t>(std::max(length, 1)), '\0');
    program ? glGetProgramInfoLog(object, length, nullptr, log.data())
            : glGetShaderInfoLog(object, length, nullptr, log.data());
    log.resize(log.find('\0') == std::string::npos ? log.size() : log.find('\0'));
    return log;
}

bool CompileShader(GLuint shader, const std::string& text, const char* stageName, std::string& errors)
{
    const char* source = text.c_str();
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    GLint ok = GL_FALSE;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &ok);
    if (!ok)
        errors = std::string("the ") + stageName + " program's GLSL does not compile: " + InfoLog(shader, false);
    return ok;
}

} // namespace

bool CGLProgram::Link(const SCompiledShader& vertex, const SCompiledShader& fragment, std::string& errors)
{
    m_program.Reset();
    m_params.clear();
    errors.clear();
    if (vertex.stage != EShaderStage::Vertex || fragment.stage != EShaderStage::Fragment) {
        errors = "a program links a vertex program with a fragment program";
        return false;
    }
    // The GL linker says the same, less plainly.
    for (const std::string& varying : fragment.varyings)
        if (std::find(vertex.varyings.begin(), vertex.varyings.end(), varying) == vertex.varyings.end()) {
            errors = "the fragment program reads " + varying + ", which the vertex program does not write";
            return false;
        }
    if (!AddUniforms(vertex, "vertex", errors) || !AddUniforms(fragment, "fragment", errors)) {
        m_params.clear();
        return false;
    }

    TGLShader<GL_VERTEX_SHADER> vs;
    TGLShader<GL_FRAGMENT_SHADER> fs;
    if (!CompileShader(vs.Id(), vertex.glsl, "vertex", errors) ||
        !CompileShader(fs.Id(), fragment.glsl, "fragment", errors)) {
        m_params.clear();
        return false;
    }
    CGLProgramName program;
    glAttachShader(program.Id(), vs.Id());
    glAttachShader(program.Id(), fs.Id());
    for (const SShaderAttribute& a : vertex.attributes)
        glBindAttribLocation(program.Id(), a.location, a.glslName.c_str());
    glLinkProgram(program.Id());
    glDetachShader(program.Id(), vs.Id());
    glDetachShader(program.Id(), fs.Id());
    GLint ok = GL_FALSE;
    glGetProgramiv(program.Id(), GL_LINK_STATUS, &ok);
    if (!ok) {
        errors = "the programs do not link: " + InfoLog(program.Id(), true);
        m_params.clear();
        return false;
    }
    m_program = std::move(program);

    // GL's own view of the uniforms: which survived, and their exact types.
    GLint active = 0;
    glGetProgramiv(m_program.Id(), GL_ACTIVE_UNIFORMS, &active);
    std::vector<std::pair<std::string, GLenum>> glTypes;
    for (GLint i = 0; i < active; ++i) {
        char name[256] = {};
        GLint size = 0;
        GLenum type = 0;
        glGetActiveUniform(m_program.Id(), static_cast<GLuint>(i), sizeof(name), nullptr, &size, &type, name);
        std::string n = name;
        if (n.ends_with("[0]"))
            n.resize(n.size() - 3);
        glTypes.emplace_back(n, type);
    }
    GLint previous = 0;
    glGetIntegerv(GL_CURRENT_PROGRAM, &previous);
    glUseProgram(m_program.Id());
    int unit = 0;
    for (SParam& p : m_params) {
        p.location = glGetUniformLocation(m_program.Id(), p.info.glslName.c_str());
        for (const auto& [name, type] : glTypes)
            if (name == p.info.glslName)
                p.glType = type;
        p.components = FloatComponents(p.info.type);
        p.values.assign(static_cast<size_t>(p.components * std::max(p.info.arraySize, 1)), 0.0f);
        if (IsSampler(p.info.type)) {
            p.textureUnit = unit++;
            if (p.location >= 0)
                glUniform1i(p.location, p.textureUnit);
        }
    }
    glUseProgram(static_cast<GLuint>(previous));
    return true;
}

bool CGLProgram::AddUniforms(const SCompiledShader& shader, const char* stageName, std::string& errors)
{
    for (const SShaderUniform& u : shader.uniforms) {
        const int existing = Find(u.name);
        if (existing < 0) {
            SParam& p = m_params.emplace_back();
            p.info = u;
            continue;
        }
        const SShaderUniform& other = m_params[static_cast<size_t>(existing)].info;
        if (other.type != u.type || other.arraySize != u.arraySize) {
            errors = "uniform '" + u.name + "' is " + TypeName(other.type) + " in the vertex program and " +
                     TypeName(u.type) + " in the " + stageName + " program";
            return false;
        }
    }
    return true;
}

int CGLProgram::Find(std::string_view name) const
{
    for (size_t i = 0; i < m_params.size(); ++i)
        if (m_params[i].info.name == name)
            return static_cast<int>(i);
    return -1;
}

void CGLProgram::SetFloats(int param, std::span<const float> values)
{
    if (param < 0 || static_cast<size_t>(param) >= m_params.size())
        return;
    SParam& p = m_params[static_cast<size_t>(param)];
    if (p.components > 4 && values.size() >= static_cast<size_t>(p.components)) {
        SetMatrix(param, values.data(), EMatrixLoad::Rows);
        return;
    }
    if (p.components == 0 || p.components > 4)
        return;
    const size_t count = std::min(values.size(), p.values.size());
    std::copy_n(values.begin(), count, p.values.begin());
    p.dirty = true;
}

void CGLProgram::SetMatrix(int param, const float* m, EMatrixLoad load)
{
    if (param < 0 || static_cast<size_t>(param) >= m_params.size())
        return;
    SParam& p = m_params[static_cast<size_t>(param)];
    const int n = p.components == 16 ? 4 : p.components == 9 ? 3 : p.components == 4 && p.info.type == EShaderParamType::Float2x2 ? 2 : 0;
    if (n == 0)
        return;
    // A plain uniform loaded untransposed takes each n-float group as one of
    // the source's rows; see CSpirvUniformSplitter.
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c)
            p.values[static_cast<size_t>(r * n + c)] = load == EMatrixLoad::Rows ? m[r * n + c] : m[c * n + r];
    p.dirty = true;
}

void CGLProgram::SetInt(int param, int value)
{
    if (param < 0 || static_cast<size_t>(param) >= m_params.size())
        return;
    SParam& p = m_params[static_cast<size_t>(param)];
    if (p.info.type != EShaderParamType::Int && p.info.type != EShaderParamType::Bool)
        return;
    p.intValue = value;
    p.dirty = true;
}

void CGLProgram::SetTexture(int param, GLuint texture, GLenum target)
{
    if (param < 0 || static_cast<size_t>(param) >= m_params.size())
        return;
    SParam& p = m_params[static_cast<size_t>(param)];
    if (p.textureUnit < 0)
        return;
    p.texture = texture;
    p.target = target;
}

void CGLProgram::Use()
{
    glUseProgram(m_program.Id());
    bool textures = false;
    for (SParam& p : m_params) {
        if (p.textureUnit >= 0 && p.target) {
            glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(p.textureUnit));
            glBindTexture(p.target, p.texture);
            textures = true;
        }
        if (p.dirty)
            Upload(p);
    }
    if (textures)
        glActiveTexture(GL_TEXTURE0);
}

void CGLProgram::Upload(SParam& p)
{
    p.dirty = false;
    if (p.location < 0)
        return;
    const GLsizei count = std::max(p.info.arraySize, 1);
    const float* v = p.values.data();
    switch (p.info.type) {
    case EShaderParamType::Float: glUniform1fv(p.location, count, v); break;
    case EShaderParamType::Float2: glUniform2fv(p.location, count, v); break;
    case EShaderParamType::Float3: glUniform3fv(p.location, count, v); break;
    case EShaderParamType::Float4: glUniform4fv(p.location, count, v); break;
    case EShaderParamType::Float2x2: glUniformMatrix2fv(p.location, count, GL_FALSE, v); break;
    case EShaderParamType::Float3x3: glUniformMatrix3fv(p.location, count, GL_FALSE, v); break;
    case EShaderParamType::Float4x4: glUniformMatrix4fv(p.location, count, GL_FALSE, v); break;
    case EShaderParamType::Int: glUniform1i(p.location, p.intValue); break;
    case EShaderParamType::Bool:
        // Stored unsigned by the compiler; a real GLSL bool takes the int call.
        if (p.glType == GL_UNSIGNED_INT)
            glUniform1ui(p.location, p.intValue != 0);
        else
            glUniform1i(p.location, p.intValue != 0);
        break;
    default: break;
    }
}
