#pragma once

#include "render/fx.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class CCfg;
class CClock;
class CNodeFactory;
class CPlaylist;
class CRender;
class CScene;
class CSceneBase;
class CSceneLayered;
class CSceneTransition;
class QXmlStreamReader;

// The director: owns every scene of a run, decides which plays, for how
// long, what comes next and through which transition, and draws the active
// scene through one final anti-aliasing pass that also picks each window's
// section of the picture.
class CLumora
{
public:
    // How ActivateAnotherScene chooses.
    enum EPick : int32_t
    {
        Pick_Next = 0,
        Pick_Previous = 1,
        Pick_Random = 2,
        Pick_Index = 3,
    };

    // `config` and `clock` outlive the director.
    CLumora(const CCfg& config, CClock& clock);
    virtual ~CLumora();
    CLumora(const CLumora&) = delete;
    CLumora& operator=(const CLumora&) = delete;

    virtual std::string GetSceneName(int32_t index) const;
    virtual int32_t GetSceneCount() const;
    virtual void ActivateScene(int32_t index);
    virtual int32_t GetSceneIndex() const { return m_sequentialIndex; }
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

    CScene* LoadSceneFile(const std::string& path);
    // Makes `scene` the only one of the run and activates it; false when it
    // cannot be drawn.
    bool PlayOnly(std::unique_ptr<CScene> scene);
    // The same for the layered scene of a background, a foreground and a
    // postprocessing scene, any of which may be missing.
    bool PlayOnly(std::array<std::unique_ptr<CScene>, 3> layers);
    bool LoadScene(const std::string& path);
    CSceneBase* FindSceneByFile(const std::string& name) const;
    bool DeleteScene(const std::string& name);
    // "background;foreground;postprocessing", loaded and appended to the
    // playable scenes; not activated. An empty part means no such layer.
    CSceneLayered* CreateLayeredScene(const std::string& text);

    CSceneBase* ActivateAnotherScene(int32_t type, int32_t index, bool useTransition);
    void SetActiveScene(CSceneBase* scene);
    CSceneBase* GetActiveScene() const { return m_active; }
    // Scenes that can play, layered ones included, and transitions.
    size_t PlayableCount() const { return m_standalone.size() + m_standaloneUsed.size(); }
    size_t TransitionCount() const { return m_transitions.size(); }
    float GetScheduled() const { return m_scheduled; }

    // The render the scenes are updated and prepared with; the host's.
    CRender* m_render = nullptr;
    // The window mode and application type of the run (see SRunInfo).
    int32_t m_windowMode = 2;
    int32_t m_appType = 0;
    // Changed by SetAutoGoto; start from the configuration.
    bool m_autoGotoNextScene = true;
    bool m_randomizeScene = true;
    // Asked to close the visualizer, after ShowConfig started the other program.
    std::function<void()> m_requestClose;

    static CLumora* s_instance;

private:
    using SceneList = std::vector<std::unique_ptr<CScene>>;
    using BaseList = std::vector<std::unique_ptr<CSceneBase>>;

    template <class TList>
    CSceneBase* PickScene(const char* name, TList& available, TList& used);
    void ResetSceneTimers();
    // Makes the scene that a running transition brings in the active one.
    void FinishTransition();
    bool AutomaticSwitching() const;
    void ApplyRenderTargetSize(CRender* render) const;
    // Activates the one playable scene; false, with every scene gone, when it
    // cannot be drawn.
    bool ActivateOnly();
    // The layers go to their lists, and a layered scene of them to the
    // playable ones.
    CSceneLayered* AddLayeredScene(std::array<std::unique_ptr<CScene>, 3> layers);
    // False when a stop request cut loading short.
    bool LoadExternal();
    void PrepareLayeredScenes();
    static bool StripClearNodes(CScene& scene, class CNode* node);
    // Makes the scene's device objects now, ahead of its first frame; false
    // when the scene cannot be drawn (an effect that doesn't compile).
    bool PrepareForDrawing(CSceneBase* scene);
    // Takes a scene that cannot be drawn out of play.
    void Drop(CSceneBase* scene);
    void UpdateRunInfo() const;
    double NowMs() const;

    const CCfg& m_config;
    CClock& m_clock;
    CNodeFactory* m_nodeFactory;

    std::vector<std::unique_ptr<CSceneTransition>> m_transitions;
    BaseList m_standalone;
    SceneList m_backgrounds;
    SceneList m_foregrounds;
    SceneList m_postprocessings;
    BaseList m_standaloneUsed;
    SceneList m_backgroundsUsed;
    SceneList m_foregroundsUsed;
    SceneList m_postprocessingsUsed;
    // Layered scenes the director puts together for one use; they all live
    // until Free, and those not in use wait in the pool.
    std::vector<std::unique_ptr<CSceneLayered>> m_layeredMade;
    std::vector<CSceneLayered*> m_layeredPool;
    CSceneBase* m_active = nullptr;

    int32_t m_sceneFrames = 0;
    double m_sceneStartMs = 0.0;
    float m_sceneSeconds = 0.0f;
    float m_scheduled = 0.0f;
    int32_t m_sequentialIndex = 0;
    int32_t m_transitionIndex = -1;

    CFx* m_fxaaEffect = nullptr;
    std::unique_ptr<CFxTechnique> m_fxaaTechnique;
    CFxPass m_fxaaPass;
    CFxParam m_srcSampler;
    CFxParam m_tex1size;
    CFxParam m_tex1transform;
    bool m_fxaaMissingReported = false;
};
