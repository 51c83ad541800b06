#include "renderogl/fxogl.h"

#include "app/textnumber.h"
#include "app/textutil.h"
#include "render/fxmanager.h"
#include "renderogl/glprogram.h"
#include "renderogl/glprogramcache.h"
#include "renderogl/shadercompiler.h"
#include "renderogl/textureogl.h"

#include <GL/glew.h>


namespace {

struct SGLWord
{
    const char* name;
    GLenum value;
};

constexpr SGLWord s_wraps[] = {
    {"Repeat", GL_REPEAT},
    {"Wrap", GL_REPEAT},
    // Effects written for either API mean the edge texel by "Clamp".
    {"Clamp", GL_CLAMP_TO_EDGE},
    {"ClampToEdge", GL_CLAMP_TO_EDGE},
    {"ClampToBorder", GL_CLAMP_TO_BORDER},
    {"Border", GL_CLAMP_TO_BORDER},
    {"MirroredRepeat", GL_MIRRORED_REPEAT},
    {"Mirror", GL_MIRRORED_REPEAT},
    {"MirrorClampToEdge", GL_MIRROR_CLAMP_TO_EDGE},
    {"MirrorOnce", GL_MIRROR_CLAMP_TO_EDGE},
};

constexpr SGLWord s_filters[] = {
    {"Nearest", GL_NEAREST},
    {"Point", GL_NEAREST},
    {"Linear", GL_LINEAR},
    {"Anisotropic", GL_LINEAR},
    {"NearestMipMapNearest", GL_NEAREST_MIPMAP_NEAREST},
    {"LinearMipMapNearest", GL_LINEAR_MIPMAP_NEAREST},
    {"NearestMipMapLinear", GL_NEAREST_MIPMAP_LINEAR},
    {"LinearMipMapLinear", GL_LINEAR_MIPMAP_LINEAR},
    {"None", 0},
};

template <size_t N>
bool Lookup(const SGLWord (&table)[N], const std::string& word, GLenum& out)
{
    for (const SGLWord& w : table) {
        if (EqualNoCase(word, w.name)) {
            out = w.value;
            return true;
        }
    }
    return false;
}

// The filter without mip maps: what a texture without them can use.
GLenum WithoutMipMaps(GLenum filter)
{
    switch (filter) {
    case GL_NEAREST_MIPMAP_NEAREST:
    case GL_NEAREST_MIPMAP_LINEAR: return GL_NEAREST;
    case GL_LINEAR_MIPMAP_NEAREST:
    case GL_LINEAR_MIPMAP_LINEAR: return GL_LINEAR;
    default: return filter;
    }
}

// Direct3D gives the mip filter on its own: MinFilter = Linear with
// MipFilter = Linear is OpenGL's LinearMipMapLinear.
GLenum CombineMipFilter(GLenum min, GLenum mip)
{
    const bool nearest = min == GL_NEAREST;
    if (mip == GL_LINEAR)
        return nearest ? GL_NEAREST_MIPMAP_LINEAR : GL_LINEAR_MIPMAP_LINEAR;
    if (mip == GL_NEAREST)
        return nearest ? GL_NEAREST_MIPMAP_NEAREST : GL_LINEAR_MIPMAP_NEAREST;
    return WithoutMipMaps(min);
}

GLenum TargetOf(EFxType type)
{
    switch (type) {
    case FT_Sampler1D: return GL_TEXTURE_1D;
    case FT_Sampler3D: return GL_TEXTURE_3D;
    case FT_SamplerCube: return GL_TEXTURE_CUBE_MAP;
    default: return GL_TEXTURE_2D;
    }
}

} // namespace

CFxOGL::CFxOGL(CFxManager* manager, CGLProgramCache& programs) : CFx(manager), m_programs(programs) {}

CFxOGL::~CFxOGL()
{
    for (const SSampler& s : m_samplers)
        if (s.m_sampler)
            glDeleteSamplers(1, &s.m_sampler);
}

bool CFxOGL::ProgramSource(const SFxStateAssignment& assignment, EShaderStage stage, SShaderSource& source)
{
    const SFxStateValue& value = assignment.m_value;
    const char* stageName = stage == EShaderStage::Vertex ? "vertex" : "fragment";
    EShaderStage profileStage = stage;
    std::string problem;
    if (!value.m_isCompile)
        problem = "'" + assignment.m_name + "' wants 'compile PROFILE entry(...)'";
    else if (!CShaderCompiler::StageOfProfile(value.m_profile, profileStage) || profileStage != stage)
        problem = "profile '" + value.m_profile + "' cannot compile a " + stageName + " program";
    if (!problem.empty()) {
        m_manager->ReportError(m_sourceName + "(" + std::to_string(assignment.m_line) + "): " + problem, FXE_Compile,
                               "");
        return false;
    }
    source.code = m_desc.m_code;
    source.stage = stage;
    source.entry = value.m_entry;
    source.entryArgs = value.m_arguments;
    source.profile = value.m_profile;
    source.name = m_sourceName;
    return true;
}

bool CFxOGL::BuildPass(const SFxPassDesc& desc, const std::string& technique, SPass& pass)
{
    if (desc.m_vertexProgram < 0 && desc.m_fragmentProgram < 0)
        return true; // state only
    if (desc.m_vertexProgram < 0 || desc.m_fragmentProgram < 0) {
        m_manager->ReportError("A pass of technique '" + technique + "' in " + m_sourceName +
                                   " needs both a vertex and a fragment program",
                               FXE_Compile, "");
        return false;
    }
    SShaderSource vertex, fragment;
    if (!ProgramSource(desc.m_states[desc.m_vertexProgram], EShaderStage::Vertex, vertex) ||
        !ProgramSource(desc.m_states[desc.m_fragmentProgram], EShaderStage::Fragment, fragment))
        return false;
    std::string errors;
    pass.m_program = m_programs.Get(vertex, fragment, errors);
    if (!pass.m_program) {
        m_manager->ReportError("A pass of technique '" + technique + "' in " + m_sourceName + " did not compile or link",
                               FXE_Compile, errors);
        return false;
    }
    return true;
}

bool CFxOGL::CompilePrograms()
{
    m_techniques.assign(m_desc.m_techniques.size(), STechnique{});
    bool anyUsable = m_desc.m_techniques.empty();
    for (size_t t = 0; t < m_desc.m_techniques.size(); ++t) {
        const SFxTechniqueDesc& desc = m_desc.m_techniques[t];
        STechnique& technique = m_techniques[t];
        for (const SFxPassDesc& passDesc : desc.m_passes) {
            SPass pass;
            // A technique that fails is not used; the effect may offer others.
            technique.m_valid = technique.m_valid && BuildPass(passDesc, desc.m_name, pass);
            for (size_t s = 0; s < passDesc.m_states.size(); ++s) {
                if (static_cast<int>(s) == passDesc.m_vertexProgram || static_cast<int>(s) == passDesc.m_fragmentProgram)
                    continue;
                CFxStateOGL state;
                std::string error;
                // A state we cannot set is reported and left out; the pass
                // still draws.
                if (state.Compile(passDesc.m_states[s], error))
                    pass.m_states.push_back(state);
                else
                    m_manager->ReportError(m_sourceName + ": " + error, FXE_Structure, "");
            }
            technique.m_passes.push_back(std::move(pass));
        }
        anyUsable |= technique.m_valid;
    }
    MakeSamplers();
    return anyUsable;
}

void CFxOGL::MakeSamplers()
{
    int unit = 0;
    for (const std::unique_ptr<SFxParameter>& param : m_params) {
        if (!FxTypeIsSampler(param->m_desc.m_type))
            continue;
        SSampler s;
        s.m_param = param.get();
        s.m_unit = unit++;
        s.m_target = TargetOf(param->m_desc.m_type);
        GLenum wrap[3] = {0, 0, 0};
        GLenum minFilter = 0, magFilter = 0, mipFilter = GL_NONE;
        bool mipGiven = false;
        float anisotropy = 0, border[4] = {0, 0, 0, 0};
        bool hasBorder = false;
        for (const SFxStateAssignment& a : param->m_desc.m_samplerStates) {
            const std::string word = a.m_value.m_words.empty() ? std::string() : a.m_value.m_words[0];
            const int axis = (a.m_name == "WrapS" || a.m_name == "AddressU")   ? 0
                             : (a.m_name == "WrapT" || a.m_name == "AddressV") ? 1
                             : (a.m_name == "WrapR" || a.m_name == "AddressW") ? 2
                                                                               : -1;
            bool known = true;
            if (axis >= 0)
                known = Lookup(s_wraps, word, wrap[axis]);
            else if (a.m_name == "MinFilter")
                known = Lookup(s_filters, word, minFilter);
            else if (a.m_name == "MagFilter")
                known = Lookup(s_filters, word, magFilter);
            else if (a.m_name == "MipFilter")
                known = mipGiven = Lookup(s_filters, word, mipFilter);
            else if (a.m_name == "MaxAnisotropy")
                known = ParseFloat(word, anisotropy);
            else if (a.m_name == "BorderColor") {
                hasBorder = a.m_value.m_words.size() == 4;
                for (size_t i = 0; hasBorder && i < 4; ++i)
                    hasBorder = ParseFloat(a.m_value.m_words[i], border[i]);
                known = hasBorder;
            } else if (a.m_name == "Texture" || a.m_name == "MaxMipLevel" || a.m_name == "MipMapLodBias" ||
                       a.m_name == "LODBias" || a.m_name == "SRGBTexture" || a.m_name == "GenerateMipMap")
                continue; // names the texture, or has no use here
            if (!known)
                m_manager->ReportError(m_sourceName + ": line " + std::to_string(a.m_line) + ": sampler state '" +
                                           a.m_name + "' of '" + param->m_desc.m_name + "' does not know '" + word + "'",
                                       FXE_Structure, "");
        }
        if (mipGiven && minFilter)
            minFilter = CombineMipFilter(minFilter, mipFilter);
        else if (mipGiven)
            minFilter = CombineMipFilter(GL_LINEAR, mipFilter);
        const bool anyState = wrap[0] || wrap[1] || wrap[2] || minFilter || magFilter || anisotropy > 0 || hasBorder;
        if (anyState) {
            glGenSamplers(1, &s.m_sampler);
            const GLenum names[3] = {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T, GL_TEXTURE_WRAP_R};
            for (int i = 0; i < 3; ++i)
                if (wrap[i])
                    glSamplerParameteri(s.m_sampler, names[i], static_cast<GLint>(wrap[i]));
            if (!minFilter)
                minFilter = GL_LINEAR_MIPMAP_LINEAR; // the default of a texture
            glSamplerParameteri(s.m_sampler, GL_TEXTURE_MIN_FILTER, static_cast<GLint>(minFilter));
            if (magFilter)
                glSamplerParameteri(s.m_sampler, GL_TEXTURE_MAG_FILTER, static_cast<GLint>(WithoutMipMaps(magFilter)));
            if (anisotropy > 0 && GLEW_EXT_texture_filter_anisotropic)
                glSamplerParameterf(s.m_sampler, GL_TEXTURE_MAX_ANISOTROPY_EXT, anisotropy);
            if (hasBorder)
                glSamplerParameterfv(s.m_sampler, GL_TEXTURE_BORDER_COLOR, border);
            s.m_wantsMipMaps = WithoutMipMaps(minFilter) != minFilter;
            s.m_minFilter = WithoutMipMaps(minFilter);
        }
        m_samplers.push_back(s);
    }
}

bool CFxOGL::ValidateTechnique(int index)
{
    return m_techniques[static_cast<size_t>(index)].m_valid;
}

void CFxOGL::SetTexture(CFxParam param, std::shared_ptr<CTexture> texture)
{
    if (!param)
        return;
    for (SSampler& s : m_samplers) {
        bool match = s.m_param == param.m_handle;
        // A texture object reaches every sampler that names it.
        if (!match && param.GetType() == FT_Texture)
            for (const SFxStateAssignment& a : s.m_param->m_desc.m_samplerStates)
                match |= a.m_name == "Texture" && !a.m_value.m_words.empty() && a.m_value.m_words[0] == param.GetName();
        if (match)
            s.m_param->m_texture = texture;
    }
    param.m_handle->m_texture = std::move(texture);
    if (m_activeProgram) {
        for (const SSampler& s : m_samplers)
            Upload(*s.m_param);
        m_activeProgram->Use();
        BindSamplers();
    }
}

void CFxOGL::BindSamplers()
{
    for (const SSampler& s : m_samplers) {
        const int index = m_activeProgram->Find(s.m_param->m_desc.m_name);
        if (index < 0)
            continue;
        const int unit = m_activeProgram->Params()[static_cast<size_t>(index)].textureUnit;
        if (unit < 0)
            continue;
        const auto* texture = static_cast<const CTextureOGL*>(s.m_param->m_texture.get());
        GLuint sampler = s.m_sampler;
        if (sampler && texture && s.m_wantsMipMaps && !(texture->m_flags & TXF_MipMaps)) {
            // Without mip maps a mip-mapped filter samples nothing; the
            // texture is drawn with its plain filter instead.
            glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
            glTexParameteri(s.m_target, GL_TEXTURE_MIN_FILTER, static_cast<GLint>(s.m_minFilter));
            glActiveTexture(GL_TEXTURE0);
            sampler = 0;
        }
        glBindSampler(static_cast<GLuint>(unit), sampler);
    }
}

void CFxOGL::SetPassState(int technique, int passIndex)
{
    SPass& pass = m_techniques[static_cast<size_t>(technique)].m_passes[static_cast<size_t>(passIndex)];
    m_activeProgram = pass.m_program.get();
    if (m_activeProgram) {
        // Programs are shared between effects: every value goes in again.
        for (const std::unique_ptr<SFxParameter>& param : m_params)
            Upload(*param);
        m_activeProgram->Use();
        BindSamplers();
    }
    for (const CFxStateOGL& state : pass.m_states)
        state.Apply();
}

void CFxOGL::ResetPassState(int technique, int passIndex)
{
    const SPass& pass = m_techniques[static_cast<size_t>(technique)].m_passes[static_cast<size_t>(passIndex)];
    for (const CFxStateOGL& state : pass.m_states)
        state.Reset();
    if (m_activeProgram) {
        for (const SSampler& s : m_samplers) {
            const int index = m_activeProgram->Find(s.m_param->m_desc.m_name);
            if (index >= 0 && m_activeProgram->Params()[static_cast<size_t>(index)].textureUnit >= 0)
                glBindSampler(static_cast<GLuint>(m_activeProgram->Params()[static_cast<size_t>(index)].textureUnit), 0);
        }
        glUseProgram(0);
    }
    m_activeProgram = nullptr;
}

void CFxOGL::ParameterChanged(SFxParameter& param)
{
    if (!m_activeProgram)
        return;
    Upload(param);
    m_activeProgram->Use();
}

void CFxOGL::Upload(SFxParameter& param)
{
    CGLProgram& program = *m_activeProgram;
    const int index = program.Find(param.m_desc.m_name);
    if (index < 0)
        return;
    if (FxTypeIsSampler(param.m_desc.m_type)) {
        const auto* texture = static_cast<const CTextureOGL*>(param.m_texture.get());
        program.SetTexture(index, texture ? texture->Id() : 0, TargetOf(param.m_desc.m_type));
    } else if (param.m_desc.m_type == FT_Int || param.m_desc.m_type == FT_Bool) {
        program.SetInt(index, param.m_values.empty() ? 0 : static_cast<int>(param.m_values[0]));
    } else {
        // Values are kept as the shader reads them, matrices row by row.
        program.SetFloats(index, param.m_values);
    }
}
