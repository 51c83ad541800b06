// Time per frame of each shipped scene at 1280x720 through the director and
// its final pass, on this machine's OpenGL.

#include "app/cfg.h"
#include "app/director/lumora.h"
#include "app/host/clock.h"
#include "app/log.h"
#include "app/paths.h"
#include "renderogl/glcontext.h"
#include "renderogl/renderogl.h"
#include "scene/scene.h"

#include <GL/glew.h>
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

namespace {

void SceneFrame(benchmark::State& state, const std::string& path, int width, int height)
{
    setenv("SDL_VIDEODRIVER", "offscreen", 0);
    // The scenes include "shader.cgh" from the data directory.
    setenv("LUMORA_APPPATH", LUMORA_SOURCE_DATA_DIR, 0);
    g_paths.Setup();
    CLog quiet;
    CLog* saved = g_log;
    g_log = &quiet;
    {
        CGLContext context;
        if (!context.CreateHeadless(width, height)) {
            state.SkipWithError("no GL context");
            g_log = saved;
            return;
        }
        CRenderOGL render;
        render.InitDevice();
        render.m_virtualRect = render.m_currentRect = SRect{0, 0, width, height};
        CCfg config;
        CLumora director(config, CClock::System());
        director.m_render = &render;
        director.m_run.m_windowMode = EWindowMode::Window;
        director.Init();
        auto scene = std::make_unique<CScene>();
        if (!scene->Load(path, true) || !director.PlayOnly(std::move(scene))) {
            state.SkipWithError("the scene does not play");
        } else {
            for (int warm = 0; warm < 3; ++warm) {
                director.Update(1.0f / 30.0f);
                director.Draw(&render);
                director.FrameFinished();
            }
            glFinish();
            for (auto _ : state) {
                director.Update(1.0f / 30.0f);
                director.Draw(&render);
                director.FrameFinished();
                glFinish();
            }
        }
        director.InvalidateDevice(&render);
        director.m_render = nullptr;
        render.ReleaseDevice();
    }
    g_log = saved;
}

// One benchmark per scene file found in the data directory.
const bool s_registered = [] {
    const std::filesystem::path data = LUMORA_SOURCE_DATA_DIR;
    if (!std::filesystem::exists(data / "scenes"))
        return false;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(data / "scenes")) {
        if (entry.path().extension() != ".lmc")
            continue;
        const std::string path = entry.path().string();
        const std::string name = std::filesystem::relative(entry.path(), data / "scenes").replace_extension().string();
        for (const auto& [label, w, h] : {std::tuple{"", 1280, 720}, std::tuple{"/640x360", 640, 360}})
            benchmark::RegisterBenchmark(("BM_Scene_Frame/" + name + label).c_str(),
                                         [path, w = w, h = h](benchmark::State& state) { SceneFrame(state, path, w, h); })
                ->Unit(benchmark::kMillisecond);
    }
    // Scenes of the tests whose cost is the nodes' more than the shaders':
    // the particles, the games, the line nodes, Lightning and Driftcrest.
    for (const auto& [name, w, h] : {std::tuple{"particles", 640, 360}, std::tuple{"games", 1280, 720},
                                     std::tuple{"lines", 1280, 720}, std::tuple{"lightning", 1280, 720},
                                     std::tuple{"driftcrest", 1280, 720}}) {
        const std::string path =
            (data / "../tests/nodes/data/scenes" / (std::string(name) + ".lms")).lexically_normal().string();
        benchmark::RegisterBenchmark(("BM_Scene_Frame/" + std::string(name) + "/" + std::to_string(w) + "x" +
                                      std::to_string(h))
                                         .c_str(),
                                     [path, w = w, h = h](benchmark::State& state) { SceneFrame(state, path, w, h); })
            ->Unit(benchmark::kMillisecond);
    }
    // The test scenes of the blob, cell and simulation nodes.
    for (const char* name : {"metaballs", "voronoi", "shatter", "fluid2d", "galaxy", "starfield", "grass"}) {
        const std::string path = (data / "../tests/data/scenes" / (std::string(name) + ".lms")).lexically_normal().string();
        benchmark::RegisterBenchmark((std::string("BM_Scene_Frame/") + name).c_str(),
                                     [path](benchmark::State& state) { SceneFrame(state, path, 1280, 720); })
            ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

} // namespace
