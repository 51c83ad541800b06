#include "nodes/support/composedeffect.h"

#include "ports/types/dataports.h"
#include "render/fxmanager.h"
#include "render/noisetextures.h"
#include "render/render.h"
#include "scene/effecttext.h"
#include "scene/nodedeclaration.h"
#include "scene/pdtexture.h"

#include <algorithm>

namespace {

constexpr const char* kNoiseSamplerNames[] = {"gFastPerlinNoiseSampler", "gPermutation1dSampler",
                                              "gPermutation2dSampler"};
constexpr const char* kDefaultTechnique = "\ntechnique Tech1{pass Pass1{VertexShader = compile glslv "
                                          "VS_Program();PixelShader = compile glslf PS_Program();}};";

} // namespace

const char* const kWrapFastNoiseSampler =
    "sampler3D gFastPerlinNoiseSampler = sampler_state { MinFilter = Linear; MagFilter = Linear; WrapS = Repeat; "
    "WrapT = Repeat; WrapR = Repeat; };\n";
const char* const kWrapPermutationSamplers =
    "sampler1D gPermutation1dSampler = sampler_state { MinFilter = Point; MagFilter = Point; WrapS = Repeat; };\n"
    "sampler2D gPermutation2dSampler = sampler_state { MinFilter = Point; MagFilter = Point; WrapS = Repeat; WrapT "
    "= Repeat; };\n"
    "#include \"shader.cgh\"\n";

const std::vector<SChoice>& BlendModeChoices()
{
    static const std::vector<SChoice> choices = {
        {0, "Zero"},
        {1, "One"},
        {2, "Source Color"},
        {3, "Destination Color"},
        {4, "Inverse Source Color"},
        {5, "Inverse Destination Color"},
        {6, "Source Alpha"},
        {7, "Destination Alpha"},
        {8, "Inverse Source Alpha"},
        {9, "Inverse Destination Alpha"},
        {10, "Source Alpha Saturate"},
    };
    return choices;
}

const std::vector<SChoice>& CullModeChoices()
{
    static const std::vector<SChoice> choices = {
        {0, "None"}, {1, "Cull forward facing polygons"}, {2, "Cull backward facing polygons"}};
    return choices;
}

std::string CComposedEffect::Compose(const std::string& fragment, std::span<CPortTexture* const> textures)
{
    std::string header;
    if (UsesFastNoise(fragment))
        header += m_dialect.fastNoiseSampler;
    header += m_dialect.permutationSamplers;
    for (const SEffectDeclaration& declaration : m_dialect.declarations)
        AddIfUsed(fragment, header, declaration.line, declaration.name);
    for (size_t i = 0; i < textures.size() && i < m_samplerDimensions.size(); ++i)
        m_samplerDimensions[i] = AddSampler(fragment, header, *textures[i], m_dialect.textureNames[i]);
    header += m_dialect.fixedSamplers;
    header += m_dialect.vertexInput;

    std::string text = header + fragment;
    if (m_dialect.alwaysAddTechnique || text.find("technique") == std::string::npos)
        text += kDefaultTechnique;
    return text;
}

bool CComposedEffect::Build(CRender* render, const std::string& fragment, std::span<CPortTexture* const> textures)
{
    Reset();
    if (fragment.empty())
        return true;
    CFxManager* manager = render->GetRenderData() ? render->GetRenderData()->GetFxManager() : nullptr;
    if (!manager)
        return false;
    m_composedText = Compose(fragment, textures);
    m_fx.reset(manager->ParseEffect(m_composedText));
    if (!m_fx)
        return false;
    m_technique.reset(m_fx->GetBestTechnique());
    if (!m_technique) {
        m_fx.reset();
        return false;
    }
    for (size_t i = 0; i < m_params.size(); ++i)
        m_params[i] = m_fx->GetParam(m_dialect.paramNames[i]);
    for (size_t i = 0; i < m_noiseParams.size(); ++i)
        m_noiseParams[i] = m_fx->GetParam(kNoiseSamplerNames[i]);
    return true;
}

void CComposedEffect::Reset()
{
    m_technique.reset();
    m_fx.reset();
    std::fill(m_params.begin(), m_params.end(), CFxParam{});
    m_noiseParams.fill(CFxParam{});
    m_composedText.clear();
}

bool CComposedEffect::TexturesChanged(std::span<CPortTexture* const> textures) const
{
    for (size_t i = 0; i < textures.size() && i < m_samplerDimensions.size(); ++i) {
        const CPortTexture* port = textures[i];
        if (port->m_connections.empty())
            continue;
        const int dimension = port->m_value ? port->m_value->m_dimension : 0;
        if (port->m_changed || dimension != m_samplerDimensions[i])
            return true;
    }
    return false;
}

void CComposedEffect::BindNoiseTextures(CNoiseTextures* noise)
{
    if (!m_fx || !noise)
        return;
    const std::shared_ptr<CTexture> textures[] = {noise->GetPerlin3D(), noise->GetPermutation1D(),
                                                  noise->GetPermutation2D()};
    for (size_t i = 0; i < m_noiseParams.size(); ++i)
        if (m_noiseParams[i])
            m_fx->SetTexture(m_noiseParams[i], textures[i]);
}

CPDComposedEffect::CPDComposedEffect(const SEffectDialect& dialect, size_t colorParam, size_t firstTextureParam)
    : m_compiled(dialect),
      m_colorParam(colorParam),
      m_firstTextureParam(firstTextureParam),
      m_textureCount(std::min(dialect.textureNames.size(), MaxTextures))
{}

void CPDComposedEffect::HoldTextures(std::span<CPortTexture* const> ports)
{
    for (size_t i = 0; i < m_textureCount && i < ports.size(); ++i) {
        CPDTexture* source = ports[i]->m_value;
        if (!ports[i]->m_connections.empty() && m_compiled.Param(m_firstTextureParam + i) && source)
            m_heldTextures[i] = source->GetTexture(m_render);
    }
}

void CPDComposedEffect::BeginPass(CFxPass* pass)
{
    if (pass)
        pass->SetState();
}

CFxPass* CPDComposedEffect::NextPass(CFxPass*)
{
    return m_compiled.Technique() ? m_compiled.Technique()->NextPass() : nullptr;
}

void CPDComposedEffect::EndPass(CFxPass* pass)
{
    if (pass)
        pass->ResetState();
}

void CPDComposedEffect::End()
{
    // A held texture would keep its source's target out of the pool.
    for (size_t i = 0; i < m_textureCount; ++i) {
        if (m_compiled.Fx() && m_compiled.Param(m_firstTextureParam + i) && m_heldTextures[i])
            m_compiled.Fx()->SetTexture(m_compiled.Param(m_firstTextureParam + i), nullptr);
        m_heldTextures[i].reset();
    }
}

void CPDComposedEffect::SetColor(const float* rgba)
{
    std::copy_n(rgba, 4, m_color);
}

void CPDComposedEffect::SetWorld(int, const float* matrix)
{
    if (m_compiled.Fx())
        std::copy_n(matrix, 16, m_compiled.Fx()->m_world.begin());
}

void CPDComposedEffect::CommitChanges(CRender* render)
{
    if (!m_compiled.Fx())
        return;
    if (CFxParam& color = m_compiled.Param(m_colorParam))
        color.SetVector4(m_color);
    m_compiled.Fx()->UpdateParameters(render);
}
