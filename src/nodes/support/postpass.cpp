#include "nodes/support/postpass.h"

#include "app/log.h"
#include "render/fxmanager.h"
#include "render/matrix.h"
#include "render/render.h"
#include "render/rendertarget.h"
#include "render/texture.h"
#include "render/texturemanager.h"

bool CBuiltInEffect::Load(CRender* render, const char* path)
{
    Reset();
    CFxManager* effects = render && render->GetRenderData() ? render->GetRenderData()->GetFxManager() : nullptr;
    m_fx = effects ? effects->LoadEffect(path, true) : nullptr;
    if (m_fx)
        m_technique.reset(m_fx->GetBestTechnique());
    if (!IsLoaded()) {
        Reset();
        return Error("The effect \"%s\" could not be loaded", path);
    }
    return true;
}

void CBuiltInEffect::Reset()
{
    m_technique.reset();
    m_fx = nullptr;
}

void SetPostStates(CRender* render)
{
    if (CRenderStateManager* states = render->GetStateManager()) {
        states->m_states.m_cullMode = 0;
        states->m_states.m_srcBlend = 1;
        states->m_states.m_dstBlend = 0;
        states->m_states.m_flags &= ~(RS_DepthTest | RS_DepthWrite);
    }
    const CMatrix identity = MatrixIdentity();
    render->SetTransform(TS_World, identity.data());
}

std::shared_ptr<CTexture> RunPass(CRender* render, CFx& effect, CFxPass& pass, int width, int height, int format,
                                  std::string_view name)
{
    CTextureManager* textures = render->GetRenderData() ? render->GetRenderData()->GetTextureManager() : nullptr;
    std::shared_ptr<CRenderTarget> target =
        textures && width > 0 && height > 0 ? textures->GetRenderTarget(width, height, format, 0, name) : nullptr;
    if (!target)
        return nullptr;
    RunPassInto(render, effect, pass, *target);
    return target->GetColorTexture();
}

void RunPassInto(CRender* render, CFx& effect, CFxPass& pass, CRenderTarget& target)
{
    target.Bind(render);
    pass.SetState();
    effect.UpdateParameters(render);
    render->DrawFullScreenQuad();
    pass.ResetState();
    target.Unbind();
}

std::vector<SChoice> PostFormats()
{
    return {{0, "Keep source format"},
            {TF_A8R8G8B8, "RGBA 8bit"},
            {TF_A32R32G32B32F, "RGBA 32bit float"},
            {TF_A16R16G16B16F, "RGBA 16bit float"},
            {TF_R11G11B10F, "RGB R11,G11,B10 bit float"}};
}
