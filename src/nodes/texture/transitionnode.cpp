#include "nodes/texture/transitionnode.h"

#include "app/cfg.h"
#include "app/log.h"
#include "nodes/support/examplescene.h"
#include "nodes/support/publishtexture.h"
#include "render/render.h"
#include "render/rendertarget.h"
#include "render/texture.h"
#include "render/texturemanager.h"
#include "scene/nodedeclaration.h"
#include "scene/scene.h"
#include "scene/scenecontext.h"
#include "scene/scenetransition.h"

#include <cmath>

namespace {

constexpr std::array<const char*, 2> kExampleScenes = {"[apppath]scenes/special/TransitionFromExample.lmc",
                                                       "[apppath]scenes/special/TransitionToExample.lmc"};

} // namespace

template <>
CNodeDeclaration DeclareNode<CTransitionNode>()
{
    return {
        In(&CTransitionNode::m_createMipMaps, "CreateMipMaps", "Build the smaller levels of both textures", false),
        Out(&CTransitionNode::m_outputs, CTransitionNode::From, "FromScene",
            "The scene we are moving away from. At scene time 0.0 this should cover the whole screen"),
        Out(&CTransitionNode::m_outputs, CTransitionNode::To, "ToScene",
            "The scene we are moving to. At scene time 1.0 this should cover the whole screen."),
    };
}

// ---- CTransitionNodeTexture ----

std::shared_ptr<CTexture> CTransitionNodeTexture::GetTexture(CRender* render)
{
    CRenderData* data = render->GetRenderData();
    if (!data || !data->GetTextureManager())
        return nullptr;
    const int width = TruncateToInt(double(render->m_virtualRect.Width()) * m_sizeScale);
    const int height = TruncateToInt(double(render->m_virtualRect.Height()) * m_sizeScale);
    m_target = data->GetTextureManager()->GetRenderTarget(width, height, TF_A8R8G8B8, TF_D24S8, "TransitionNode");
    if (!m_target)
        return nullptr;

    // Each call draws the scene anew: a reader that asks twice pays twice.
    const CCamera camera = *render->GetCamera();
    m_target->Bind(render);
    if (CSceneBase* scene = m_source ? m_source : m_example)
        scene->Draw(render);
    else
        render->Clear(m_clearColor.data(), 0.0f, CF_Color | CF_Depth);
    m_target->Unbind();
    render->SetCamera(camera);
    if (m_mipMaps)
        m_target->m_colorTexture->GenerateMipMaps();
    return m_target->GetColorTexture();
}

// ---- CTransitionNode ----

CTransitionNode::CTransitionNode() = default;

CTransitionNode::~CTransitionNode() = default;

bool CTransitionNode::Init()
{
    m_records[From].m_clearColor = {0, 0, 0, 1};
    m_records[To].m_clearColor = {0.5f, 0.5f, 1, 1};
    // Without layer scenes to move between, or in a preview, the transition
    // shows scenes of its own.
    if (Run().IsEditor() || Run().m_directorWithoutLayers) {
        for (int side : {From, To}) {
            m_examples[size_t(side)] = LoadExampleScene(kExampleScenes[size_t(side)], Run());
            m_records[size_t(side)].m_example = m_examples[size_t(side)].get();
        }
    }
    return true;
}

float CTransitionNode::SizeScale(float configured)
{
    if (configured > 0.0f && configured <= MaxSizeScale)
        return configured;
    if (!m_reportedScale) {
        m_reportedScale = true;
        Error("Transition \"%s\": scene scale %g is not above 0 and at most %g; 1 is used", m_name.c_str(),
              double(configured), double(MaxSizeScale));
    }
    return 1.0f;
}

void CTransitionNode::Update(float time, CSceneContext* context)
{
    for (const auto& example : m_examples) {
        if (example)
            example->Update(context->m_deltaTime, context->m_render);
    }
    UpdateInPorts(time);

    m_records[From].m_source = m_transition ? m_transition->m_from : nullptr;
    m_records[To].m_source = m_transition ? m_transition->m_to : nullptr;
    const bool mipMaps = m_createMipMaps->m_value;
    const int flags = (mipMaps ? PDT_MipMaps : 0) | PDT_ClampToEdge;
    for (int side : {From, To}) {
        m_records[size_t(side)].m_mipMaps = mipMaps;
        PublishTexture(*m_outputs[size_t(side)], &m_records[size_t(side)], 2, flags);
    }

    static const CCfg defaults;
    const CCfg& config = Run().m_config ? *Run().m_config : defaults;
    const bool preview = Run().IsEditor();
    m_records[From].m_sizeScale = preview ? 1.0f : SizeScale(config.SceneFromScale);
    m_records[To].m_sizeScale = preview ? 1.0f : SizeScale(config.SceneToScale);
}

void CTransitionNode::FrameFinished()
{
    for (auto& record : m_records)
        record.m_target.reset();
    for (const auto& example : m_examples) {
        if (example)
            example->FrameFinished();
    }
}

bool CTransitionNode::RestoreDevice(CRender* render)
{
    for (const auto& example : m_examples) {
        if (example)
            example->RestoreDevice(render);
    }
    return true;
}

void CTransitionNode::InvalidateDevice(CRender* render)
{
    for (auto& record : m_records)
        record.m_target.reset();
    for (const auto& example : m_examples) {
        if (example)
            example->InvalidateDevice(render);
    }
}

bool CTransitionNode::ResetDevice(CRender*)
{
    return true;
}

void CTransitionNode::SetTransition(CSceneTransition* transition)
{
    m_transition = transition;
    // The scenes of a transition that is gone must not be drawn any more.
    if (!transition) {
        for (auto& record : m_records)
            record.m_source = nullptr;
    }
}
