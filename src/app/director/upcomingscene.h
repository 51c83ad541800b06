#pragma once

#include <cstdint>
#include <functional>

class CFinalPass;
class CRender;
class CSceneBase;
class CScenePool;
class CSceneTransition;

// The scene, and the transition to it, that the next automatic switch will
// take, picked right after a switch. Drawn once small and unseen a while
// before its turn, the scene gets its effects compiled by the driver then,
// and not in the frame it starts in: on a software rasteriser that first
// draw costs several frames.
class CUpcomingScene
{
public:
    // Picks the scene and the transition as the switch would. `inOrder`
    // takes the playlist's order for both.
    void Pick(CScenePool& pool, int32_t type, bool inOrder, float postProcessingProbability);
    // The picked scene for a switch of `type` (the next or a random scene),
    // or null: other switches pick their own.
    CSceneBase* TakeScene(int32_t type);
    // The picked transition, or null.
    CSceneTransition* TakeTransition();
    // A scene that leaves play is no longer upcoming.
    void Forget(const CSceneBase* scene);
    void Clear();

    bool IsWarm() const { return m_warm || !m_scene; }
    // Makes the scene's device objects with `prepare` (false drops it from
    // `pool`) and draws it, through its transition if it has one, into a
    // small target through `finalPass`. The scene that plays, `active`,
    // needs none of it.
    void Warm(CRender* render, CFinalPass& finalPass, CScenePool& pool, const CSceneBase* active,
              const std::function<bool(CSceneBase*)>& prepare);

    // Edge of the unseen target: big enough for every pass to run, small
    // enough to cost nothing but the compiling.
    static constexpr int WarmSize = 24;

private:
    CSceneBase* m_scene = nullptr;
    CSceneTransition* m_transition = nullptr;
    bool m_warm = false;
};
