// Scene switches: the longest frame around a switch against the median
// frame of the same run, with the director playing a playlist on simulated
// time: effect scenes of their own at 640x360, each new to the caches, and
// the shipped default playlist at 1280x720.

#include "app/cfg.h"
#include "app/director/lumora.h"
#include "app/director/playlist.h"
#include "app/host/clock.h"
#include "app/log.h"
#include "app/paths.h"
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
#include <functional>
#include <string>
#include <vector>

namespace {

constexpr int Width = 640;
constexpr int Height = 360;

std::string SaveEffectScene(const std::string& dir, int number)
{
    CScene scene;
    for (const char* type : {"Screen", "RenderRect", "Clear", "TestEffect"})
        scene.AddNode(type);
    scene.Connect("Clear1.Render", "RenderRect1.Render");
    scene.Connect("RenderRect1.Render", "Screen1.Render");
    scene.Connect("TestEffect1.Effect", "RenderRect1.Effect");
    std::string component;
    // A constant of its own makes each scene's programs new to the caches.
    std::string effect = GradientEffect();
    const std::string marker = "* color;";
    effect.replace(effect.find(marker), marker.size(), "* color * " + std::to_string(0.9 + number * 0.001) + ";");
    scene.FindInPort("TestEffect1.Shader", &component)->SetValue(effect);
    const std::string path = dir + "/scene" + std::to_string(number) + ".lmc";
    scene.Save(path, false);
    return path;
}

// Plays `playlist` for `frames` frames of simulated time at `width` x
// `height` and reports the longest frame of a switch (the frame of the
// switch and the one after, which draws the new scene first) against the
// median frame as `ratio`; `update_max_ms` is the longest director update of
// those frames, the rest of them is drawing.
void MeasureSwitches(benchmark::State& state, const CPlaylist& playlist, const CCfg& config, CRender& render,
                     int frames)
{
    for (auto _ : state) {
        CLumora director(config, CClock::System());
        director.m_render = &render;
        director.m_run.m_windowMode = EWindowMode::Record;
        director.Init();
        director.DeserializeProject(playlist);
        std::vector<double> times, updates;
        std::vector<size_t> switches;
        const CSceneBase* last = director.GetActiveScene();
        for (int frame = 0; frame < frames; ++frame) {
            const auto start = std::chrono::steady_clock::now();
            director.Update(1.0f / 30.0f);
            const auto updated = std::chrono::steady_clock::now();
            director.Draw(&render);
            director.FrameFinished();
            glFinish();
            const auto end = std::chrono::steady_clock::now();
            times.push_back(std::chrono::duration<double, std::milli>(end - start).count());
            updates.push_back(std::chrono::duration<double, std::milli>(updated - start).count());
            if (director.GetActiveScene() != last)
                switches.push_back(times.size() - 1);
            last = director.GetActiveScene();
        }
        std::vector<double> sorted = times;
        std::sort(sorted.begin(), sorted.end());
        const double median = sorted[sorted.size() / 2];
        double longest = 0.0, longestUpdate = 0.0;
        for (size_t at : switches) {
            for (size_t f = at; f < std::min(times.size(), at + 2); ++f) {
                longest = std::max(longest, times[f]);
                longestUpdate = std::max(longestUpdate, updates[f]);
            }
        }
        state.counters["median_ms"] = median;
        state.counters["switch_max_ms"] = longest;
        state.counters["update_max_ms"] = longestUpdate;
        state.counters["frame_max_ms"] = sorted.back();
        state.counters["ratio"] = median > 0 ? longest / median : 0;
        state.counters["switches"] = double(switches.size());
        director.InvalidateDevice(&render);
        director.m_render = nullptr;
    }
}

// A GL context and render of the size, with a quiet log, for `body`.
void WithRender(benchmark::State& state, int width, int height, const std::function<void(CRender&)>& body)
{
    setenv("SDL_VIDEODRIVER", "offscreen", 0);
    CLog quiet;
    CLog* saved = g_log;
    g_log = &quiet; // the director logs every switch; not what is measured
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
        body(render);
        render.ReleaseDevice();
    }
    g_log = saved;
}

// Six effect scenes of their own, 2 seconds each, at 640x360.
void BM_Director_Switch(benchmark::State& state)
{
    // The final pass comes from the data directory.
    setenv("LUMORA_APPPATH", LUMORA_SOURCE_DATA_DIR, 0);
    g_paths.Setup();
    WithRender(state, Width, Height, [&](CRender& render) {
        CNodeFactory* factory = CNodeFactory::Get();
        factory->Init(NodeTypes());
        {
            CTestEffectNode::CType effectType;
            char pattern[] = "/tmp/lumora-bench-director-XXXXXX";
            const std::string dir = mkdtemp(pattern);
            CPlaylist playlist;
            for (int i = 0; i < 6; ++i)
                playlist.Add(playlist.m_scenes, SaveEffectScene(dir, i), {}, 2.0f);
            g_random.Seed(1);
            MeasureSwitches(state, playlist, CCfg(), render, 30 * 24);
            std::filesystem::remove_all(dir);
        }
        factory->Release();
    });
}
BENCHMARK(BM_Director_Switch)->Iterations(1)->Unit(benchmark::kMillisecond);

// The shipped default playlist at 1280x720, a scene every 3 seconds with a
// transition of 1 second between them: every scene and transition comes at
// least once.
void BM_Director_Switch_Shipped(benchmark::State& state)
{
    setenv("LUMORA_APPPATH", LUMORA_SOURCE_DATA_DIR, 0);
    g_paths.Setup();
    WithRender(state, 1280, 720, [&](CRender& render) {
        CPlaylist playlist;
        if (!playlist.Load(ExpandPath("[apppath]playlists/Default.lmp"))) {
            state.SkipWithError("no default playlist");
            return;
        }
        CCfg config;
        config.MinRunTime = config.MaxRunTime = 3;
        config.Time = 1.0f;
        g_random.Seed(1);
        MeasureSwitches(state, playlist, config, render, 30 * 4 * 14);
    });
}
BENCHMARK(BM_Director_Switch_Shipped)->Name("BM_Director_Switch/shipped")->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
