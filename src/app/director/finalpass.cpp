#include "app/director/finalpass.h"

#include "app/log.h"
#include "render/fxmanager.h"
#include "render/render.h"
#include "render/renderstateguard.h"
#include "render/rendertarget.h"
#include "render/texture.h"
#include "render/texturemanager.h"
#include "scene/scenebase.h"

#include <array>
#include <cmath>

namespace {

constexpr const char* kFxaaEffect = "nodedata/scenefxaa.cgfx";

} // namespace

CFinalPass::CFinalPass() = default;

CFinalPass::~CFinalPass() = default;

bool CFinalPass::RestoreDevice(CRender* render)
{
    if (m_fxaaEffect || m_fxaaMissingReported)
        return m_fxaaEffect != nullptr;
    CFxManager* effects = render && render->GetRenderData() ? render->GetRenderData()->GetFxManager() : nullptr;
    m_fxaaEffect = effects ? effects->LoadEffect(kFxaaEffect, true) : nullptr;
    if (m_fxaaEffect)
        m_fxaaTechnique.reset(m_fxaaEffect->GetBestTechnique());
    if (m_fxaaTechnique) {
        m_fxaaPass = m_fxaaTechnique->GetPass("MainPass");
        m_scaledPass = m_fxaaTechnique->GetPass("ScaledPass");
    }
    if (!m_fxaaEffect || !m_fxaaTechnique || !m_fxaaPass.IsValid() || !m_scaledPass.IsValid()) {
        m_fxaaMissingReported = true;
        m_fxaaTechnique.reset();
        m_fxaaEffect = nullptr;
        return Error("The final pass \"%s\" could not be loaded; scenes are drawn without it", kFxaaEffect);
    }
    m_srcSampler = m_fxaaEffect->GetParam("gSrcSampler");
    m_srcPoint = m_fxaaEffect->GetParam("gSrcPoint");
    m_tex1size = m_fxaaEffect->GetParam("tex1size");
    m_tex1transform = m_fxaaEffect->GetParam("tex1transform");
    return true;
}

void CFinalPass::InvalidateDevice()
{
    m_fxaaTechnique.reset();
    m_fxaaPass = m_scaledPass = CFxPass();
    m_fxaaEffect = nullptr;
    m_srcSampler = m_srcPoint = m_tex1size = m_tex1transform = CFxParam();
}

void CFinalPass::Draw(CRender* render, CSceneBase& scene, const SRect& renderRect)
{
    CRenderStateGuard guard(*render);
    render->m_virtualRect = renderRect;
    const int width = renderRect.Width(), height = renderRect.Height();
    CTextureManager* textures = render->GetRenderData() ? render->GetRenderData()->GetTextureManager() : nullptr;
    std::shared_ptr<CRenderTarget> target =
        textures ? textures->GetRenderTarget(width, height, TF_A8R8G8B8, TF_D24S8, "LumoraDraw") : nullptr;
    if (!target)
        return;

    CCamera camera;
    camera.m_fov = 60.0f;
    camera.m_near = 0.0f;
    camera.m_far = 100.0f;
    camera.m_projection = CCamera::Orthographic;
    render->SetCamera(camera);
    target->Bind(render);
    // A pooled target holds whatever its last user drew.
    const float black[4] = {0, 0, 0, 1};
    render->Clear(black, 1.0f, CF_Color | CF_Depth);
    scene.Draw(render);
    target->Unbind();

    const float size[4] = {float(width), float(height), 1.0f / float(width), 1.0f / float(height)};
    m_tex1size.SetVector4(size);
    std::shared_ptr<CTexture> picture = target->GetColorTexture();
    m_fxaaEffect->SetTexture(m_srcSampler, picture);
    m_fxaaEffect->SetTexture(m_srcPoint, picture);
    if (CRenderStateManager* states = render->GetStateManager()) {
        states->m_states.m_srcBlend = 1;
        states->m_states.m_dstBlend = 0;
        states->m_states.m_flags &= ~(RS_DepthTest | RS_DepthWrite | RS_AlphaTest);
        states->m_states.m_cullMode = 0;
    }
    // Into a target the whole picture; on a window its section, so that one
    // picture spans several monitors.
    const bool intoTarget = render->GetRenderData()->m_boundFramebuffer != 0;
    const std::array<float, 4> section = intoTarget ? std::array<float, 4>{0, 0, 1, 1} : render->GetCurrentSection();
    m_tex1transform.SetVector4(section.data());
    render->SetViewport(0, 0, 1, 1);
    // Texel for pixel the unfiltered reads are exact; a picture scaled to
    // the window needs filtered ones.
    const SRect& shown = render->m_currentRect;
    const bool texelForPixel = std::abs(float(width) * section[2] - float(shown.Width())) < 0.5f &&
                               std::abs(float(height) * section[3] - float(shown.Height())) < 0.5f;
    CFxPass& pass = texelForPixel ? m_fxaaPass : m_scaledPass;
    pass.SetState();
    m_fxaaEffect->UpdateParameters(render);
    render->DrawFullScreenQuad();
    pass.ResetState();
    m_fxaaEffect->SetTexture(m_srcSampler, nullptr);
    m_fxaaEffect->SetTexture(m_srcPoint, nullptr);
}
