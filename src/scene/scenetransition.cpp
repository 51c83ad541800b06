#include "scene/scenetransition.h"

#include "scene/layerhooks.h"
#include "scene/node.h"
#include "scene/scene.h"
#include "scene/scenelayered.h"

CSceneTransition::CSceneTransition() : CSceneBase(Kind_Transition)
{
}

CSceneTransition::~CSceneTransition()
{
    if (m_node)
        m_node->SetTransition(nullptr);
}

bool CSceneTransition::Prepare()
{
    if (m_node)
        m_node->SetTransition(nullptr);
    m_node = nullptr;
    if (!m_transition)
        return true;
    for (const auto& node : m_transition->m_nodes) {
        if (std::string_view(node->GetTypeName()) == "Transition") {
            if (auto* user = dynamic_cast<CTransitionUser*>(node.get()))
                m_node = user;
        }
    }
    if (m_node)
        m_node->SetTransition(this);
    m_transition->SetFeedback();
    return true;
}

void CSceneTransition::Update(float deltaTime, CRender* render)
{
    if (m_from)
        m_from->Update(deltaTime, render);
    if (m_to && m_to != m_from)
        m_to->Update(deltaTime, render);
    if (m_transition)
        m_transition->Update(deltaTime, render);
}

void CSceneTransition::FrameFinished()
{
    if (m_from)
        m_from->FrameFinished();
    if (m_to && m_to != m_from)
        m_to->FrameFinished();
    if (m_transition)
        m_transition->FrameFinished();
}

bool CSceneTransition::RestoreDevice(CRender* render)
{
    // The scene that goes already has its resources.
    if (m_to)
        m_to->RestoreDevice(render);
    if (m_transition)
        m_transition->RestoreDevice(render);
    return true;
}

void CSceneTransition::InvalidateDevice(CRender* render)
{
    // The coming scene plays on and keeps its resources.
    if (m_from && m_from != m_to)
        m_from->InvalidateDevice(render);
    if (m_transition)
        m_transition->InvalidateDevice(render);
}

void CSceneTransition::Draw(CRender* render)
{
    // The Transition node draws both scenes into its textures when asked.
    if (m_transition && m_node)
        m_transition->Draw(render);
}

void CSceneTransition::ForceRestore()
{
    if (m_to)
        m_to->ForceRestore();
    if (m_transition)
        m_transition->ForceRestore();
}

std::string CSceneTransition::GetFileName() const
{
    return m_transition ? m_transition->GetFileName() : std::string();
}

std::string CSceneTransition::GetId() const
{
    const auto id = [](const CSceneBase* scene) { return scene ? scene->GetId() : std::string(); };
    return id(m_from) + "#" + id(m_transition.get()) + "#" + id(m_to) + "#";
}

std::string CSceneTransition::GetName() const
{
    return m_transition ? m_transition->GetName() : std::string();
}

void CSceneTransition::Restart()
{
    if (m_from)
        m_from->Restart();
    if (m_transition)
        m_transition->Restart();
}

void CSceneTransition::ReleaseOutgoing(CRender* render)
{
    if (m_from) {
        auto* fromLayers = dynamic_cast<CSceneLayered*>(m_from);
        auto* toLayers = dynamic_cast<CSceneLayered*>(m_to);
        if (fromLayers && toLayers) {
            // A layer both scenes share, such as a common background, stays.
            CScene* const from[3] = {fromLayers->m_background, fromLayers->m_foreground, fromLayers->m_postprocessing};
            CScene* const to[3] = {toLayers->m_background, toLayers->m_foreground, toLayers->m_postprocessing};
            for (int i = 0; i < 3; ++i) {
                if (from[i] && (!to[i] || to[i]->GetId() != from[i]->GetId()))
                    from[i]->InvalidateDevice(render);
            }
        } else if (m_from != m_to) {
            m_from->InvalidateDevice(render);
        }
    }
    if (m_transition)
        m_transition->InvalidateDevice(render);
}
