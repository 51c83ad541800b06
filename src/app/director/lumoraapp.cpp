#include "app/director/lumoraapp.h"

#include "app/director/lumora.h"
#include "app/director/playlist.h"
#include "app/cfg.h"
#include "app/log.h"
#include "app/paths.h"
#include "app/regularfile.h"
#include "render/render.h"
#include "scene/scene.h"

CLumoraApp::CLumoraApp(CClock& clock) : m_clock(clock)
{
}

CLumoraApp::~CLumoraApp()
{
    // The host has given the device objects back when it closed its windows.
    if (m_director)
        m_director->m_render = nullptr;
}

void CLumoraApp::Start(const CCfg& config, CRender* render, SRunInfo run)
{
    m_render = render;
    m_director = std::make_unique<CLumora>(config, m_clock);
    m_director->m_render = render;
    run.m_config = &config;
    m_director->m_run = run;
    m_director->Init();
    // Only with the user's consent, and not in runs that make pictures or
    // serve another program.
    const bool shows = run.m_appType == EAppType::Visualizer || run.m_appType == EAppType::Screensaver;
    if (config.CheckForNewVersion && shows && run.m_windowMode != EWindowMode::Record &&
        run.m_windowMode != EWindowMode::Preview)
        m_versionCheck.Start();
}

namespace {

// Loads a scene that is to be drawn, or says in `error` why it cannot be;
// `what` names it in the message.
std::unique_ptr<CScene> LoadPlayable(std::unique_ptr<CScene> scene, const std::string& path, const std::string& what,
                                     std::string& error)
{
    const std::string expanded = ExpandPath(path);
    const std::string named = what + " \"" + expanded + "\"";
    if (path.empty()) {
        error = named + " does not exist";
        return nullptr;
    }
    if (const std::string why = WhyNotRegularFile(expanded); !why.empty()) {
        error = named + " " + why;
        return nullptr;
    }
    if (!scene->Load(expanded, true)) {
        error = named + " cannot be opened; it is not a scene container";
        return nullptr;
    }
    if (scene->ReadFailed()) {
        error = named + " is broken; the log tells where";
        return nullptr;
    }
    if (!scene->GetRoot()) {
        error = named + " has no Screen node, so it draws nothing";
        return nullptr;
    }
    return scene;
}

} // namespace

bool CLumoraApp::Play(const std::string& path, std::string& error)
{
    if (CPlaylist::IsLayered(path))
        return PlayLayered(path, error);
    const bool playlist = path.size() > 4 && path.compare(path.size() - 4, 4, ".lmp") == 0;
    return playlist ? PlayPlaylist(path, error) : PlayScene(path, error);
}

bool CLumoraApp::PlayScene(const std::string& path, std::string& error)
{
    std::unique_ptr<CScene> scene = LoadPlayable(m_director->NewScene(), path, "the scene file", error);
    if (!scene)
        return false;
    const std::string expanded = ExpandPath(path);
    if (!m_director->PlayOnly(std::move(scene))) {
        error = "the scene \"" + expanded + "\" cannot be drawn on this device; the log tells why";
        return false;
    }
    Log("Playing scene \"%s\"", expanded.c_str());
    return true;
}

bool CLumoraApp::PlayLayered(const std::string& entry, std::string& error)
{
    std::array<std::string, 3> parts;
    if (!CPlaylist::SplitLayered(entry, parts)) {
        error = "the layered entry \"" + entry + "\" needs three parts: background;foreground;postprocessing";
        return false;
    }
    if (parts[0].empty() && parts[1].empty() && parts[2].empty()) {
        error = "the layered entry \"" + entry + "\" names no scene";
        return false;
    }
    static const char* const roles[] = {"the background scene file", "the foreground scene file",
                                        "the postprocessing scene file"};
    std::array<std::unique_ptr<CScene>, 3> layers;
    for (size_t i = 0; i < parts.size(); ++i)
        if (!parts[i].empty() && !(layers[i] = LoadPlayable(m_director->NewScene(), parts[i], roles[i], error)))
            return false;
    if (!m_director->PlayOnly(std::move(layers))) {
        error = "the layered scene \"" + entry + "\" cannot be drawn on this device; the log tells why";
        return false;
    }
    Log("Playing layered scene \"%s\"", entry.c_str());
    return true;
}

bool CLumoraApp::PlayPlaylist(const std::string& path, std::string& error)
{
    const std::string expanded = ExpandPath(path);
    if (const std::string why = WhyNotRegularFile(expanded); !why.empty()) {
        error = "the playlist \"" + expanded + "\" " + why;
        return false;
    }
    CPlaylist playlist;
    if (!playlist.Load(expanded)) {
        error = "the playlist \"" + expanded + "\" cannot be read; the log tells why";
        return false;
    }
    if (!m_director->DeserializeProject(playlist)) {
        error = "the playlist \"" + expanded + "\" holds a broken layered entry; the log tells which";
        return false;
    }
    if (!m_director->GetActiveScene()) {
        error = "nothing in the playlist \"" + expanded + "\" could be played; the log tells why";
        return false;
    }
    return true;
}

bool CLumoraApp::Update(float deltaTime)
{
    if (m_director)
        m_director->Update(deltaTime);
    return true;
}

bool CLumoraApp::Draw(CRender* render)
{
    if (m_director) {
        m_director->Draw(render);
    } else {
        const float black[4] = {0, 0, 0, 1};
        render->Clear(black, 1.0f, CF_Color | CF_Depth);
    }
    return true;
}

void CLumoraApp::FrameFinished()
{
    if (m_director)
        m_director->FrameFinished();
    m_versionCheck.Poll();
}

bool CLumoraApp::RestoreDevice()
{
    return !m_director || m_director->RestoreDevice(m_render);
}

bool CLumoraApp::InvalidateDevice()
{
    if (m_director)
        m_director->InvalidateDevice(m_render);
    return true;
}

void CLumoraApp::NextScene()
{
    if (m_director)
        m_director->NextScene();
}

void CLumoraApp::PrevScene()
{
    if (m_director)
        m_director->PrevScene();
}

std::string CLumoraApp::GetVersionText() const
{
    return LUMORA_VERSION;
}

std::string CLumoraApp::GetStatusText() const
{
    const CSceneBase* active = m_director ? m_director->GetActiveScene() : nullptr;
    return active ? active->GetName() : std::string();
}
