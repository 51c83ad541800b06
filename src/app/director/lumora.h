#pragma once

#include "app/director/finalpass.h"
#include "app/director/scenepool.h"
#include "app/director/upcomingscene.h"
#include "scene/runinfo.h"
#include "services/profiler.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class CCfg;
class CClock;
class CPlaylist;
class CRender;
class CScene;
class CSceneBase;
class CSceneLayered;
class QXmlStreamReader;
struct SRect;

// The director: owns every scene of a run, decides which plays, for how
// long, what comes next and through which transition, and draws the active
// scene through the final pass.
class CLumora
{
public:
    // `config` and `clock` outlive the director.
    CLumora(const CCfg& config, CClock& clock);
    virtual ~CLumora();
    CLumora(const CLumora&) = delete;
    CLumora& operator=(const CLumora&) = delete;

    virtual std::string GetSceneName(int32_t index) const;
    virtual int32_t GetSceneCount() const;
    virtual void ActivateScene(int32_t index);
    virtual int32_t GetSceneIndex() const { return m_pool.GetSceneIndex(); }
    virtual void NextScene();
    virtual void PrevScene();
    virtual void SetAutoGoto(bool automatic, bool next);
    virtual void ForceRestoreActive();
    // Starts the configuration program beside this one and asks to close
    // the visualizer; false, with a log line, when it isn't there or doesn't
    // start.
    virtual bool ShowConfig();

    bool Init();
    // Deletes every scene.
    void Free();
    void Update(float deltaTime);
    void Draw(CRender* render);
    void FrameFinished();
    bool RestoreDevice(CRender* render);
    void InvalidateDevice(CRender* render);

    // Turns a playlist into scenes and picks the first. False when the text
    // is no playlist or holds a broken layered entry.
    bool DeserializeProject(QXmlStreamReader& reader);
    bool DeserializeProject(const CPlaylist& playlist);

    // An empty scene for this director; Load it before use.
    std::unique_ptr<CScene> NewScene() const;
    CScene* LoadSceneFile(const std::string& path);
    // Makes `scene` the only one of the run and activates it; false when it
    // cannot be drawn.
    bool PlayOnly(std::unique_ptr<CScene> scene);
    // The same for the layered scene of a background, a foreground and a
    // postprocessing scene, any of which may be missing.
    bool PlayOnly(std::array<std::unique_ptr<CScene>, 3> layers);
    // Queues an editor's request; it runs in the next Update.
    void AddCommands(std::string_view text);
    bool LoadScene(const std::string& path);
    // Appends a scene made elsewhere to the playable ones.
    void AddScene(std::unique_ptr<CSceneBase> scene);
    // Takes a playable scene out of the run and deletes it.
    bool RemoveScene(CSceneBase* scene);
    std::vector<CSceneBase*> PlayableScenes() const { return m_pool.PlayableScenes(); }
    CSceneBase* FindSceneByFile(const std::string& name) const;
    bool DeleteScene(const std::string& name);
    // "background;foreground;postprocessing", loaded and appended to the
    // playable scenes; not activated. An empty part means no such layer.
    CSceneLayered* CreateLayeredScene(const std::string& text);

    // `type` is one of CScenePool's EPick.
    CSceneBase* ActivateAnotherScene(int32_t type, int32_t index, bool useTransition);
    void SetActiveScene(CSceneBase* scene);
    CSceneBase* GetActiveScene() const { return m_active; }
    // Scenes that can play, layered ones included, and transitions.
    size_t PlayableCount() const { return m_pool.PlayableCount(); }
    size_t TransitionCount() const { return m_pool.TransitionCount(); }
    float GetScheduled() const { return m_scheduled; }

    // The render the scenes are updated and prepared with; the host's.
    CRender* m_render = nullptr;
    // The kind of run, from the host; the director's scenes read it.
    SRunInfo m_run;
    // Changed by SetAutoGoto; start from the configuration.
    bool m_autoGotoNextScene = true;
    bool m_randomizeScene = true;
    // Asked to close the visualizer, after ShowConfig started the other program.
    std::function<void()> m_requestClose;
    // Where ShowConfig finds "lumora-config"; empty is beside this program.
    std::string m_configProgramDir;
    // The host's frame loop, for the editor's frame rate settings; may be null.
    class CFrameLoop* m_frameLoop = nullptr;
    // Most of an update that waiting editor commands may take, in ms.
    double m_commandBudgetMs = 4.0;

    static CLumora* s_instance;

private:
    void ResetSceneTimers();
    // Makes the scene that a running transition brings in the active one.
    void FinishTransition();
    bool AutomaticSwitching() const;
    // How the next automatic switch picks its scene.
    int32_t AutomaticPick() const;
    // The picture's size: the configured render target size, in place of
    // the windows' rectangle.
    SRect RenderTargetRect(const CRender& render) const;
    // Activates the one playable scene; false, with every scene gone, when it
    // cannot be drawn.
    bool ActivateOnly();
    // Makes the scene's device objects now, ahead of its first frame; false
    // when the scene cannot be drawn (an effect that doesn't compile).
    bool PrepareForDrawing(CSceneBase* scene);
    void UpdateRunInfo();
    double NowMs() const;

    const CCfg& m_config;
    CClock& m_clock;
    class CNodeFactory* m_nodeFactory;

    class CScriptEngine* m_scriptEngine;
    CProfiler m_profiler;

    CScenePool m_pool;
    CSceneBase* m_active = nullptr;

    int32_t m_sceneFrames = 0;
    double m_sceneStartMs = 0.0;
    float m_sceneSeconds = 0.0f;
    float m_scheduled = 0.0f;

    CFinalPass m_finalPass;
    CUpcomingScene m_upcoming;
    // The next Draw warms the upcoming scene.
    bool m_warmDue = false;
};
