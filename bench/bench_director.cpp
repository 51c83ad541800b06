// Scene switches: the longest frame around a switch against the median
// frame of the same run, with the director playing a playlist of effect
// scenes at 640x360 on simulated time. Every scene's effect differs, so a
// switch pays for compiling it.

#include "app/cfg.h"
#include "app/director/lumora.h"
#include "app/director/playlist.h"
#include "app/host/clock.h"
#include "app/log.h"
#include "app/random.h"
#include "nodes/nodetypes.h"
#include "ports/port.h"
#include "renderogl/glcontext.h"
#include "renderogl/renderogl.h"
#include "scene/nodefactory.h"
#include "scene/scene.h"
#include "support/testeffectnode.h"

#include <GL/glew.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

constexpr int Width = 640;
constexpr int Height = 360;

std::string SaveEffectScene(const std::string& dir, int number)
{
    CScene scene;
    for (const char* type : {"Screen", "RenderRect", "Clear", "Streak"})
        scene.AddNode(type);
    scene.Connect("Clear1.Render", "RenderRect1.Render");
    scene.Connect("RenderRect1.Render", "Screen1.Render");
    scene.Connect("Streak1.Effect", "RenderRect1.Effect");
    std::string component;
    // A constant of its own makes each scene's programs new to the caches.
    std::string effect = GradientEffect();
    const std::string marker = "* color;";
    effect.replace(effect.find(marker), marker.size(), "* color * " + std::to_string(0.9 + number * 0.001) + ";");
    scene.FindInPort("Streak1.Shader", &component)->SetValue(effect);
    const std::string path = dir + "/scene" + std::to_string(number) + ".lmc";
    scene.Save(path, false);
    return path;
}

void BM_Director_Switch(benchmark::State& state)
{
    setenv("SDL_VIDEODRIVER", "offscreen", 0);
    CLog quiet;
    CLog* saved = g_log;
    g_log = &quiet; // the director logs every switch; not what is measured
    CGLContext context;
    if (!context.CreateHeadless(Width, Height)) {
        state.SkipWithError("no GL context");
        g_log = saved;
        return;
    }
    auto render = std::make_unique<CRenderOGL>();
    render->InitDevice();
    render->m_virtualRect = render->m_currentRect = SRect{0, 0, Width, Height};

    CNodeFactory* factory = CNodeFactory::Get();
    factory->Init(NodeTypes());
    {
        CTestEffectNode::CType effectType;
        char pattern[] = "/tmp/lumora-bench-director-XXXXXX";
        const std::string dir = mkdtemp(pattern);
        CPlaylist playlist;
        for (int i = 0; i < 6; ++i)
            playlist.Add(playlist.m_scenes, SaveEffectScene(dir, i), {}, 2.0f);

        CCfg config;
        g_random.Seed(1);
        for (auto _ : state) {
            CLumora director(config, CClock::System());
            director.m_render = render.get();
            director.m_run.m_windowMode = EWindowMode::Record;
            director.Init();
            director.DeserializeProject(playlist);
            std::vector<double> frames;
            std::vector<size_t> switches;
            const CSceneBase* last = director.GetActiveScene();
            for (int frame = 0; frame < 30 * 24; ++frame) {
                const auto start = std::chrono::steady_clock::now();
                director.Update(1.0f / 30.0f);
                director.Draw(render.get());
                director.FrameFinished();
                glFinish();
                frames.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
                if (director.GetActiveScene() != last)
                    switches.push_back(frames.size() - 1);
                last = director.GetActiveScene();
            }
            std::vector<double> sorted = frames;
            std::sort(sorted.begin(), sorted.end());
            const double median = sorted[sorted.size() / 2];
            double longest = 0.0, longestAgain = 0.0;
            // The frame of a switch and the one after it, which draws the new
            // scene first; apart, the switches to scenes played before.
            for (size_t at : switches)
                for (size_t f = at; f < std::min(frames.size(), at + 2); ++f)
                    (at < frames.size() / 2 ? longest : longestAgain) =
                        std::max(at < frames.size() / 2 ? longest : longestAgain, frames[f]);
            state.counters["switch_again_max_ms"] = longestAgain;
            state.counters["median_ms"] = median;
            state.counters["switch_max_ms"] = longest;
            state.counters["ratio"] = median > 0 ? longest / median : 0;
            state.counters["switches"] = double(switches.size());
            director.InvalidateDevice(render.get());
            director.m_render = nullptr;
        }
        std::filesystem::remove_all(dir);
    }
    factory->Release();
    render->ReleaseDevice();
    render.reset();
    g_log = saved;
}
BENCHMARK(BM_Director_Switch)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
