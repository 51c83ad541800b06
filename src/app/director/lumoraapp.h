#pragma once

#include "render/userapp3d.h"
#include "scene/runinfo.h"
#include "services/versioncheck.h"

#include <memory>
#include <string>

class CCfg;
class CClock;
class CLumora;
class CRender;

// The application object of a visualizer run: stands between the host and
// the director.
class CLumoraApp : public CUserApp3d
{
public:
    explicit CLumoraApp(CClock& clock);
    ~CLumoraApp() override;

    // Makes the director once the host has its configuration and windows.
    void Start(const CCfg& config, CRender* render, SRunInfo run);

    // A playlist (".lmp"), a layered entry or one scene; false, with `error`
    // set to a message for the user, when nothing of it can play.
    bool Play(const std::string& path, std::string& error);
    // Loads a playlist and picks its first scene.
    bool PlayPlaylist(const std::string& path, std::string& error);
    // Plays one scene file over and over.
    bool PlayScene(const std::string& path, std::string& error);
    // Plays the layered scene of "background;foreground;postprocessing",
    // where an empty part means no such layer.
    bool PlayLayered(const std::string& entry, std::string& error);

    bool Update(float deltaTime) override;
    bool Draw(CRender* render) override;
    void FrameFinished() override;
    bool RestoreDevice() override;
    bool InvalidateDevice() override;
    void NextScene() override;
    void PrevScene() override;
    std::string GetVersionText() const override;
    std::string GetStatusText() const override;

    // Null before Start.
    CLumora* Director() { return m_director.get(); }

private:
    CClock& m_clock;
    std::unique_ptr<CLumora> m_director;
    CRender* m_render = nullptr;
    CVersionCheck m_versionCheck;
};
