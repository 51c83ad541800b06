#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class CNode;
class CRender;
class CScene;
class CSceneBase;
class CSceneLayered;
class CSceneTransition;

// Every scene of a run, in the lists the director picks from: scenes that
// play by themselves (plain and layered), background, foreground and
// postprocessing layers, and transitions. Random picks go without
// repetition: a picked scene moves to the used half of its list until each
// scene of the list has had its turn.
class CScenePool
{
public:
    // How Pick chooses.
    enum EPick : int32_t
    {
        Pick_Next = 0,
        Pick_Previous = 1,
        Pick_Random = 2,
        Pick_Index = 3,
    };

    CScenePool();
    ~CScenePool();
    CScenePool(const CScenePool&) = delete;
    CScenePool& operator=(const CScenePool&) = delete;

    // Deletes every scene.
    void Free();

    void AddStandalone(std::unique_ptr<CSceneBase> scene);
    // `type` is the layer's scene type bit, which also names its list.
    CScene* AddLayer(int32_t type, std::unique_ptr<CScene> scene);
    void AddTransition(std::unique_ptr<CSceneTransition> transition);
    // The layers go to their lists, and a prepared layered scene of them to
    // the playable ones. A missing layer is no layer.
    CSceneLayered* AddLayeredScene(std::array<std::unique_ptr<CScene>, 3> layers);

    // Loads every scene by its file name. A scene that doesn't load leaves
    // its list, with a log line; a layered scene forgets the layer, and goes
    // too when neither background nor foreground is left. False when a stop
    // request cut loading short.
    bool LoadExternal();
    // A foreground may have been written to play alone: its Clear nodes go,
    // so that it never wipes what the background drew.
    void PrepareLayeredScenes();
    // Prepare on the layered scenes of the playable ones.
    void PrepareLayeredEntries();
    // Sequential play starts again from the first scene, and recording from
    // the first transition.
    void ResetOrder();

    // Nothing to pick: no playable scene, background or foreground.
    bool IsEmpty() const;
    // The scene for a switch; a random pick may put a layered scene
    // together. Null when there is none to take.
    CSceneBase* Pick(int32_t type, int32_t index, float postProcessingProbability);
    // The transition for a switch: in playlist order or at random; null
    // without transitions.
    CSceneTransition* PickTransition(bool inOrder);
    // A layered scene that the pool put together waits for its next use.
    void GiveBack(CSceneBase* scene);
    // Takes a scene that cannot be drawn out of play.
    void Drop(CSceneBase* scene);
    // Takes the playable scene out of the pool and hands it over.
    std::unique_ptr<CSceneBase> Remove(CSceneBase* scene);
    // Every playable scene, picked in this cycle or not.
    std::vector<CSceneBase*> PlayableScenes() const;
    // Every scene gives its device objects back.
    void InvalidateDevice(CRender* render);

    // Plain scenes among the playable ones not yet picked in this cycle,
    // and the name of the one at `index`, or of the last if there are fewer.
    int32_t GetSceneCount() const;
    std::string GetSceneName(int32_t index) const;
    int32_t GetSceneIndex() const { return m_sequentialIndex; }
    // The first playable scene not yet picked with that file name, or null.
    CSceneBase* FindSceneByFile(const std::string& name) const;
    bool HasPlayable() const { return !m_standalone.empty(); }
    bool HasLayerScenes() const;
    // Scenes that can play, layered ones included, and transitions.
    size_t PlayableCount() const { return m_standalone.size() + m_standaloneUsed.size(); }
    size_t TransitionCount() const { return m_transitions.size(); }
    // The log line with the length of each list.
    void LogCounts() const;

private:
    using SceneList = std::vector<std::unique_ptr<CScene>>;
    using BaseList = std::vector<std::unique_ptr<CSceneBase>>;

    template <class TList>
    CSceneBase* PickScene(const char* name, TList& available, TList& used);
    CSceneLayered* MakeLayered(float postProcessingProbability);
    SceneList* LayerList(int32_t type);
    static bool StripClearNodes(CScene& scene, CNode* node);

    std::vector<std::unique_ptr<CSceneTransition>> m_transitions;
    BaseList m_standalone;
    SceneList m_backgrounds;
    SceneList m_foregrounds;
    SceneList m_postprocessings;
    BaseList m_standaloneUsed;
    SceneList m_backgroundsUsed;
    SceneList m_foregroundsUsed;
    SceneList m_postprocessingsUsed;
    // Layered scenes the pool puts together for one use; they all live
    // until Free, and those not in use wait in m_layeredPool.
    std::vector<std::unique_ptr<CSceneLayered>> m_layeredMade;
    std::vector<CSceneLayered*> m_layeredPool;
    int32_t m_sequentialIndex = 0;
    int32_t m_transitionIndex = -1;
};
