#include "nodes/support/composedeffect.h"

#include "ports/types/dataports.h"
#include "render/fxmanager.h"
#include "render/noisetextures.h"
#include "render/render.h"
#include "scene/effecttext.h"
#include "scene/pdtexture.h"

#include <algorithm>

namespace {

constexpr const char* kNoiseSamplerNames[] = {"gFastPerlinNoiseSampler", "gPermutation1dSampler",
                                              "gPermutation2dSampler"};
constexpr const char* kDefaultTechnique = "\ntechnique Tech1{pass Pass1{VertexShader = compile glslv "
                                          "VS_Program();PixelShader = compile glslf PS_Program();}};";

} // namespace

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
