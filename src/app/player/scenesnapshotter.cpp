#include "app/player/scenesnapshotter.h"

#include "render/render.h"
#include "render/renderstateguard.h"
#include "render/rendertarget.h"
#include "render/texturemanager.h"
#include "scene/scene.h"
#include "scene/scenesnapshot.h"

#include <cstring>

namespace {

constexpr int SnapshotWidth = 1280;
constexpr int SnapshotHeight = 720;

} // namespace

bool SnapshotScene(CRender* render, CScene& scene, CSceneSnapshot& picture)
{
    CTextureManager* textures = render ? render->GetRenderData()->GetTextureManager() : nullptr;
    if (!textures)
        return false;
    std::shared_ptr<CRenderTarget> target =
        textures->GetRenderTarget(SnapshotWidth, SnapshotHeight, TF_A8R8G8B8, TF_D24S8, "SceneSave");
    if (!target)
        return false;

    // A save may come while the scene plays: its frames go on as before.
    CRenderStateGuard guard(*render);
    target->Bind(render);
    scene.Update(0.0f, render);
    if (CRenderStateManager* states = render->GetStateManager()) {
        states->m_states.m_flags &= ~(RS_DepthTest | RS_DepthWrite | RS_AlphaTest);
        states->m_states.m_cullMode = 0;
    }
    const float black[4] = {0, 0, 0, 1};
    render->Clear(black, 1.0f, CF_Color | CF_Depth);
    scene.Draw(render);

    // Read while bound: the framebuffer is drawn flipped in y, so its rows
    // come back top row first, as the picture wants them.
    picture.m_width = SnapshotWidth;
    picture.m_height = SnapshotHeight;
    picture.m_bgr.resize(size_t(SnapshotWidth) * SnapshotHeight * 3);
    const bool read = render->ReadPixels(picture.m_bgr.data());
    target->Unbind();
    return read && picture.IsValid();
}

void InstallSceneSnapshots(CRender* render)
{
    if (!render) {
        CScene::SetSnapshotSource({});
        return;
    }
    CScene::SetSnapshotSource(
        [render](CScene& scene, CSceneSnapshot& picture) { return SnapshotScene(render, scene, picture); });
}
