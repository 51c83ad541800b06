#include "nodes/texture/previouslayernode.h"

#include "nodes/support/examplescene.h"
#include "nodes/support/publishtexture.h"
#include "ports/types/dataports.h"
#include "render/render.h"
#include "render/rendertarget.h"
#include "render/texture.h"
#include "render/texturemanager.h"
#include "scene/nodedeclaration.h"
#include "scene/scene.h"
#include "scene/scenecontext.h"

namespace {

constexpr const char* kExampleScene = "[apppath]scenes/special/PostprocessingBackground.lmc";

std::shared_ptr<CRenderTarget> TakeTarget(CRender* render, const char* name)
{
    CRenderData* data = render->GetRenderData();
    if (!data || !data->GetTextureManager())
        return nullptr;
    return data->GetTextureManager()->GetRenderTarget(render->m_virtualRect.Width(), render->m_virtualRect.Height(),
                                                      TF_A8R8G8B8, TF_D24S8, name);
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CPreviousLayerNode>()
{
    return {
        In(&CPreviousLayerNode::m_createMipMaps, "CreateMipMaps", "Build the smaller levels of the texture", false),
        Out(&CPreviousLayerNode::m_color, "Color", "The background and foreground layers combined"),
    };
}

CPreviousLayerNode::CPreviousLayerNode() = default;

CPreviousLayerNode::~CPreviousLayerNode() = default;

bool CPreviousLayerNode::Init()
{
    // No layered scene feeds the node in a preview.
    if (Run().IsEditor())
        m_example = LoadExampleScene(kExampleScene, Run());
    return true;
}

void CPreviousLayerNode::Update(float time, CSceneContext* context)
{
    if (m_example)
        m_example->Update(context->m_deltaTime, context->m_render);
    UpdateInPorts(time);
    PublishTexture(*m_color, this, 2, (m_createMipMaps->m_value ? PDT_MipMaps : 0) | PDT_ClampToEdge);
}

void CPreviousLayerNode::FrameFinished()
{
    if (m_example)
        m_example->FrameFinished();
}

bool CPreviousLayerNode::RestoreDevice(CRender* render)
{
    if (m_example)
        m_example->RestoreDevice(render);
    return true;
}

void CPreviousLayerNode::InvalidateDevice(CRender* render)
{
    // The captured target lives within one draw of the layered scene, which
    // a device loss can't interrupt: it is not dropped here, since a draw may
    // reset the node's device between capture and release.
    if (m_example)
        m_example->InvalidateDevice(render);
}

void CPreviousLayerNode::BuildMipMaps(CTexture* texture) const
{
    if (texture && m_createMipMaps->m_value)
        texture->GenerateMipMaps();
}

bool CPreviousLayerNode::StartCapture(CRender* render)
{
    m_target = TakeTarget(render, "PreviousLayerNode");
    if (!m_target)
        return false;
    m_savedCamera = *render->GetCamera();
    m_target->Bind(render);
    return true;
}

void CPreviousLayerNode::EndCapture(CRender* render)
{
    if (!m_target)
        return;
    m_target->Unbind();
    render->SetCamera(m_savedCamera);
    m_savedCamera = CCamera();
    BuildMipMaps(m_target->m_colorTexture.get());
}

void CPreviousLayerNode::ReleaseCapture()
{
    m_target.reset();
}

std::shared_ptr<CTexture> CPreviousLayerNode::GetTexture(CRender* render)
{
    if (m_target)
        return m_target->GetColorTexture();
    // Outside a layered scene. The target goes back to the pool when the
    // reader lets go of the texture.
    std::shared_ptr<CRenderTarget> target = TakeTarget(render, "PreviousLayerGetTexture");
    if (!target)
        return nullptr;
    target->Bind(render);
    if (m_example) {
        m_example->Draw(render);
    } else {
        static const float transparent[4] = {0, 0, 0, 0};
        render->Clear(transparent, 0.0f, CF_Color | CF_Depth);
    }
    target->Unbind();
    BuildMipMaps(target->m_colorTexture.get());
    return target->GetColorTexture();
}
