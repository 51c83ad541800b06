#pragma once

#include "render/userapp3d.h"

#include <memory>
#include <string>

class CRender;
class CScene;

// The application object of a run that plays one scene: it hands the host's
// frame calls to the scene.
class CScenePlayer : public CUserApp3d
{
public:
    CScenePlayer();
    ~CScenePlayer() override;

    // Loads the scene file. False, with `error` set to a message for the
    // user, when the file cannot be opened, is broken, or has nothing to draw.
    bool Load(const std::string& path, std::string& error);
    // Plays a scene made elsewhere.
    void SetScene(std::unique_ptr<CScene> scene);
    CScene* GetScene() const { return m_scene.get(); }

    bool Update(float deltaTime) override;
    bool Draw(CRender* render) override;
    void FrameFinished() override;
    bool RestoreDevice() override;
    bool InvalidateDevice() override;
    std::string GetVersionText() const override;

    // The host's render; the scene is updated and its device objects made
    // with it.
    CRender* m_render = nullptr;

private:
    std::unique_ptr<CScene> m_scene;
};
