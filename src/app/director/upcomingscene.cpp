#include "app/director/upcomingscene.h"

#include "app/director/finalpass.h"
#include "app/director/scenepool.h"
#include "render/render.h"
#include "render/renderstateguard.h"
#include "render/rendertarget.h"
#include "render/texturemanager.h"
#include "scene/scene.h"
#include "scene/scenetransition.h"

#include <utility>

void CUpcomingScene::Pick(CScenePool& pool, int32_t type, bool inOrder, float postProcessingProbability)
{
    Clear();
    m_scene = pool.Pick(type, 0, postProcessingProbability);
    if (m_scene)
        m_transition = pool.PickTransition(inOrder);
}

CSceneBase* CUpcomingScene::TakeScene(int32_t type)
{
    if (type != CScenePool::Pick_Next && type != CScenePool::Pick_Random)
        return nullptr;
    m_warm = false;
    return std::exchange(m_scene, nullptr);
}

CSceneTransition* CUpcomingScene::TakeTransition()
{
    return std::exchange(m_transition, nullptr);
}

void CUpcomingScene::Forget(const CSceneBase* scene)
{
    if (scene && scene == m_scene) {
        m_scene = nullptr;
        m_warm = false;
    }
}

void CUpcomingScene::Clear()
{
    m_scene = nullptr;
    m_transition = nullptr;
    m_warm = false;
}

void CUpcomingScene::Warm(CRender* render, CFinalPass& finalPass, CScenePool& pool, const CSceneBase* active,
                          const std::function<bool(CSceneBase*)>& prepare)
{
    if (IsWarm() || !render)
        return;
    m_warm = true;
    // A playlist of one scene comes back to the scene that plays.
    if (active && active->GetId() == m_scene->GetId())
        return;
    if (!prepare(m_scene)) {
        pool.Drop(std::exchange(m_scene, nullptr));
        return;
    }
    CTextureManager* textures = render->GetRenderData() ? render->GetRenderData()->GetTextureManager() : nullptr;
    std::shared_ptr<CRenderTarget> target =
        textures ? textures->GetRenderTarget(WarmSize, WarmSize, TF_A8R8G8B8, TF_D24S8, "LumoraWarm") : nullptr;
    if (!target)
        return;

    // The transition draws the scene on both of its sides, so that the
    // scene playing now is left alone.
    CSceneBase* drawn = m_scene;
    if (m_transition && m_transition->m_transition) {
        m_transition->m_from = m_transition->m_to = m_scene;
        m_transition->Prepare();
        m_transition->m_transition->Update(0.0f, render);
        m_transition->m_transition->RestoreDevice(render);
        drawn = m_transition;
    }
    target->Bind(render);
    const SRect rect{0, 0, WarmSize, WarmSize};
    if (finalPass.IsLoaded()) {
        finalPass.Draw(render, *drawn, rect);
    } else {
        CRenderStateGuard guard(*render);
        render->m_virtualRect = rect;
        drawn->Draw(render);
    }
    target->Unbind();

    // The scene itself keeps what it drew with until its first frame is
    // finished: it may share layers with the scene that plays, whose frame
    // is not finished yet. Its clock has not moved.
    if (drawn == m_transition) {
        m_transition->m_transition->FrameFinished();
        m_transition->m_transition->Restart();
        m_transition->m_from = m_transition->m_to = nullptr;
    }
}
