// A shipped scene that has settled allocates no memory from one frame to the
// next: every frame reuses the pooled textures, targets, render lists and
// expression values of the frames before. Allocations are counted by the
// global operator new of this test program.

#include "app/cfg.h"
#include "app/director/lumora.h"
#include "app/host/clock.h"
#include "app/paths.h"
#include "renderogl/glcontext.h"
#include "renderogl/renderogl.h"
#include "scene/scene.h"
#include "support/logcapture.h"
#include "support/tempdir.h"
#include "support/allocationcount.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

const std::string kData = LUMORA_DATA_DIR;

class SteadyState : public ::testing::TestWithParam<std::string>
{
};

std::string SceneName(const ::testing::TestParamInfo<std::string>& row)
{
    std::string name = row.param.substr(row.param.rfind('/') + 1);
    return name.substr(0, name.find('.'));
}

TEST_P(SteadyState, ASettledSceneAllocatesNothingFromFrameToFrame)
{
    setenv("SDL_VIDEODRIVER", "offscreen", 1);
    CTempDir home;
    setenv("XDG_CONFIG_HOME", home.Path().c_str(), 1);
    setenv("LUMORA_APPPATH", kData.c_str(), 1);
    g_paths.Setup();
    constexpr int Width = 160, Height = 90;
    CGLContext context;
    ASSERT_TRUE(context.CreateHeadless(Width, Height));
    CRenderOGL render;
    ASSERT_TRUE(render.InitDevice());
    render.m_virtualRect = render.m_currentRect = SRect{0, 0, Width, Height};
    CCfg config;
    CLumora director(config, CClock::System());
    director.m_render = &render;
    director.m_run.m_windowMode = EWindowMode::Window;
    director.m_autoGotoNextScene = false;
    director.Init();
    auto scene = director.NewScene();
    ASSERT_TRUE(scene->Load(kData + "/" + GetParam(), true));
    ASSERT_TRUE(director.PlayOnly(std::move(scene)));

    const auto frame = [&] {
        director.Update(1.0f / 30.0f);
        director.Draw(&render);
        director.FrameFinished();
    };
    // The object scenes of the tests grow their pools (lines, particles) to
    // what they show over their first seconds; shipped scenes settle sooner.
    const int settle = GetParam().find("tests/") != std::string::npos ? 90 : 10;
    for (int i = 0; i < settle; ++i)
        frame();
    StartCountingAllocations();
    for (int i = 0; i < 100; ++i)
        frame();
    EXPECT_EQ(StopCountingAllocations(), 0) << "allocations in 100 frames";
    director.InvalidateDevice(&render);
    director.m_render = nullptr;
    render.ReleaseDevice();
}

INSTANTIATE_TEST_SUITE_P(Shipped, SteadyState,
                         ::testing::Values("scenes/Plasma.lmc", "scenes/Starfield.lmc",
                                           "scenes/transitions/Crossfade.lmc", "scenes/post/Vignette.lmc"),
                         SceneName);

// Scenes of the object nodes: the games, the line nodes, Lightning and
// Driftcrest.
INSTANTIATE_TEST_SUITE_P(Objects, SteadyState,
                         ::testing::Values("../tests/nodes/data/scenes/games.lms",
                                           "../tests/nodes/data/scenes/lines.lms",
                                           "../tests/nodes/data/scenes/lightning.lms",
                                           "../tests/nodes/data/scenes/driftcrest.lms"),
                         SceneName);

} // namespace
