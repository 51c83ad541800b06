// The fixed cost that the director adds around every scene: an empty scene
// through the whole director path (its draw target, the final pass, the copy
// to the window) against one full-screen pass of a four-sine shader drawn
// straight to the window, in the same run. The counter `ratio` is the
// director's cost in full-screen passes.

#include "app/cfg.h"
#include "app/director/lumora.h"
#include "app/host/clock.h"
#include "app/log.h"
#include "app/paths.h"
#include "ports/port.h"
#include "renderogl/glcontext.h"
#include "renderogl/renderogl.h"
#include "scene/scene.h"

#include <GL/glew.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr const char* kFourSines = R"(struct PSInput
{
	float4 hpos : POSITION;
	float2 tex : TEXCOORD0;
};

PSInput VS_Program(VSInput vi)
{
	PSInput pi;
	pi.hpos = float4(vi.pos.xyz, 1.0);
	pi.tex = vi.tex;
	return pi;
}

float4 PS_Program(PSInput pi) : COLOR
{
	float2 p = pi.tex * 2.0 - 1.0;
	float v = sin(p.x * 3.0 + time) + sin(p.y * 4.0 - time) + sin((p.x + p.y) * 2.5) + sin(length(p) * 6.0);
	return float4(0.5 + 0.5 * sin(v), 0.5 + 0.5 * cos(v), 0.5, 1.0);
}
)";

// The median of `frames` runs of `frame`, each finished on the GPU.
double MedianMs(int frames, const std::function<void()>& frame)
{
    std::vector<double> times;
    for (int i = 0; i < frames; ++i) {
        const auto start = std::chrono::steady_clock::now();
        frame();
        glFinish();
        times.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

void BM_Director_Floor(benchmark::State& state, int width, int height)
{
    setenv("SDL_VIDEODRIVER", "offscreen", 0);
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
        config.RenderTargetRelative = true;
        config.RenderTargetWidth = config.RenderTargetHeight = 1.0f;
        CLumora director(config, CClock::System());
        director.m_render = &render;
        director.m_run.m_windowMode = EWindowMode::Window;
        director.Init();

        CScene pass;
        for (const char* type : {"Screen", "RenderRect", "Shader", "Clear"})
            pass.AddNode(type);
        pass.Connect("Clear1.Render", "RenderRect1.Render");
        pass.Connect("RenderRect1.Render", "Screen1.Render");
        pass.Connect("Shader1.Effect", "RenderRect1.Effect");
        std::string component;
        pass.FindInPort("Shader1.Shader", &component)->SetValue(kFourSines);
        // Straight to the window the rectangle's winding is the other way round.
        pass.FindInPort("Shader1.CullMode", &component)->SetValue("0");
        pass.FindInPort("Clear1.Color", &component)->SetValue("1 0 0 1");
        pass.Prepare();
        pass.RestoreDevice(&render);

        auto empty = director.NewScene();
        empty->AddNode("Screen");
        if (!director.PlayOnly(std::move(empty))) {
            state.SkipWithError("the empty scene does not play");
        } else {
            const auto directorFrame = [&] {
                director.Update(1.0f / 30.0f);
                director.Draw(&render);
                director.FrameFinished();
            };
            const auto passFrame = [&] {
                render.SetViewport(0, 0, 1, 1);
                render.SetCamera(*render.GetCamera());
                pass.Update(1.0f / 30.0f, &render);
                pass.Draw(&render);
                pass.FrameFinished();
            };
            MedianMs(5, directorFrame);
            MedianMs(5, passFrame);
            for (auto _ : state) {
                const double floorMs = MedianMs(40, directorFrame);
                const double passMs = MedianMs(40, passFrame);
                state.SetIterationTime(floorMs / 1000.0);
                state.counters["pass_ms"] = passMs;
                state.counters["ratio"] = passMs > 0 ? floorMs / passMs : 0;
            }
        }
        pass.InvalidateDevice(&render);
        director.InvalidateDevice(&render);
        director.m_render = nullptr;
        render.ReleaseDevice();
    }
    g_log = saved;
}

const bool s_registered = [] {
    for (const auto& [name, w, h] : {std::tuple{"640x360", 640, 360}, std::tuple{"1280x720", 1280, 720}})
        benchmark::RegisterBenchmark((std::string("BM_Director_Floor/") + name).c_str(),
                                     [w = w, h = h](benchmark::State& state) { BM_Director_Floor(state, w, h); })
            ->UseManualTime()
            ->Iterations(3)
            ->Unit(benchmark::kMillisecond);
    return true;
}();

} // namespace
