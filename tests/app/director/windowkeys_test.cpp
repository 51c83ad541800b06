// Scene keys pressed in a real window while the show runs: presses that land
// in the middle of a transition must leave the director in a valid state.

#include "app/cfg.h"
#include "app/director/lumora.h"
#include "app/director/lumoraapp.h"
#include "app/host/apptypewin.h"
#include "app/host/clock.h"
#include "app/paths.h"
#include "nodes/nodetypes.h"
#include "renderogl/renderogl.h"
#include "scene/nodefactory.h"
#include "scene/scenebase.h"
#include "support/tempdir.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

namespace {

// A host that presses keys through SDL's event queue between frames.
class CKeyPressingHost : public CAppTypeWin
{
public:
    CKeyPressingHost(CLumoraApp* app, uint32_t seed) : CAppTypeWin(app, MakeRenderOGL), m_app(*app), m_random(seed) {}

    int m_presses = 0;
    int m_pressesInTransition = 0;

protected:
    void RenderFrame() override
    {
        CAppTypeWin::RenderFrame();
        if (--m_framesToNextPress > 0)
            return;
        m_framesToNextPress = std::uniform_int_distribution<int>(1, 12)(m_random);
        static constexpr SDL_Keycode keys[] = {SDLK_RIGHT, SDLK_n, SDLK_LEFT, SDLK_p};
        const SDL_Keycode key = m_presses < PressCount ? keys[m_random() % 4] : SDLK_ESCAPE;
        const CSceneBase* active = m_app.Director()->GetActiveScene();
        if (key != SDLK_ESCAPE && active && active->m_kind == CSceneBase::Kind_Transition)
            ++m_pressesInTransition;
        SDL_Event event{};
        event.type = SDL_KEYDOWN;
        event.key.keysym.sym = key;
        SDL_PushEvent(&event);
        ++m_presses;
    }

private:
    static constexpr int PressCount = 40;
    CLumoraApp& m_app;
    std::mt19937 m_random;
    int m_framesToNextPress = 3;
};

struct SKeyRun
{
    int presses = 0;
    int pressesInTransition = 0;
    int framesDrawn = 0;
};

SKeyRun PressKeysThrough(const std::string& playlist, uint32_t seed)
{
    CLumoraApp app(CClock::System());
    CKeyPressingHost host(&app, seed);
    host.m_windowMode = EWindowMode::Window;
    // An end of its own, should Escape never arrive.
    host.m_maxFrames = 3000;
    EXPECT_TRUE(host.Init());
    // Small pictures keep llvmpipe fast; the director's logic is the same.
    host.m_config->RenderTargetRelative = false;
    host.m_config->RenderTargetWidth = 160;
    host.m_config->RenderTargetHeight = 90;
    EXPECT_TRUE(host.CreateWindows());
    app.Start(*host.m_config, host.m_render.get(), host.RunInfo());
    std::string error;
    EXPECT_TRUE(app.Play(playlist, error)) << error;
    host.RunApp();
    return {host.m_presses, host.m_pressesInTransition, host.m_frameCount};
}

} // namespace

TEST(WindowKeys, SceneKeysDuringTransitionsKeepTheShowRunning)
{
    CTempDir home;
    setenv("XDG_CONFIG_HOME", home.Path().c_str(), 1);
    setenv("SDL_VIDEODRIVER", "offscreen", 1);
    setenv("LUMORA_APPPATH", LUMORA_SOURCE_DATA, 1);
    g_paths.Setup();
    CNodeFactory* factory = CNodeFactory::Get();
    factory->Init(NodeTypes());

    // The shipped show with three transitions and a layered entry, and a
    // playlist of one transition, which a press used to pick while it ran.
    for (const std::string& playlist :
         {std::string("[apppath]playlists/Default.lmp"), std::string(LUMORA_SHARED_TEST_DATA "/playlists/colours.lmp")}) {
        SCOPED_TRACE(playlist);
        const SKeyRun run = PressKeysThrough(playlist, 11);
        EXPECT_EQ(run.presses, 41) << "40 scene keys, then Escape ended the run";
        EXPECT_LT(run.framesDrawn, 3000);
        EXPECT_GE(run.pressesInTransition, 5);
    }
    factory->Release();
    unsetenv("LUMORA_APPPATH");
}
