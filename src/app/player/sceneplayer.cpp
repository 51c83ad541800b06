#include "app/player/sceneplayer.h"

#include "app/log.h"
#include "render/render.h"
#include "scene/scene.h"

#include <filesystem>

CScenePlayer::CScenePlayer() = default;

// The host gives the scene's device objects back through InvalidateDevice
// when it closes its windows, before the render goes.
CScenePlayer::~CScenePlayer() = default;

bool CScenePlayer::Load(const std::string& path, std::string& error)
{
    auto scene = std::make_unique<CScene>();
    std::error_code ignored;
    if (path.empty() || !std::filesystem::is_regular_file(path, ignored)) {
        error = "the scene file \"" + path + "\" does not exist";
        return false;
    }
    if (!scene->Load(path, true)) {
        error = "the scene file \"" + path + "\" cannot be opened; it is not a scene container";
        return false;
    }
    if (scene->m_readFailed) {
        error = "the scene file \"" + path + "\" is broken; the log tells where";
        return false;
    }
    if (!scene->m_root) {
        error = "the scene file \"" + path + "\" has no Screen node, so it draws nothing";
        return false;
    }
    Log("Playing scene \"%s\"", path.c_str());
    SetScene(std::move(scene));
    return true;
}

void CScenePlayer::SetScene(std::unique_ptr<CScene> scene)
{
    if (m_scene && m_render)
        m_scene->InvalidateDevice(m_render);
    m_scene = std::move(scene);
    if (m_scene) {
        m_scene->Prepare();
        m_scene->ForceRestore();
    }
}

bool CScenePlayer::Update(float deltaTime)
{
    if (m_scene)
        m_scene->Update(deltaTime, m_render);
    return true;
}

bool CScenePlayer::Draw(CRender* render)
{
    // A chain that starts without a Clear draws over whatever was there.
    const float black[4] = {0, 0, 0, 1};
    render->Clear(black, 1.0f, CF_Color | CF_Depth);
    if (m_scene)
        m_scene->Draw(render);
    return true;
}

void CScenePlayer::FrameFinished()
{
    if (m_scene)
        m_scene->FrameFinished();
}

bool CScenePlayer::RestoreDevice()
{
    return !m_scene || !m_render || m_scene->RestoreDevice(m_render);
}

bool CScenePlayer::InvalidateDevice()
{
    if (m_scene && m_render)
        m_scene->InvalidateDevice(m_render);
    return true;
}

std::string CScenePlayer::GetVersionText() const
{
    return LUMORA_VERSION;
}
