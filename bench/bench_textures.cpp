// Cost of the textures made on the CPU and of the post-processing chains:
// an ExpressionTexture fill per texel, one Turing step, and Bloom and Blur
// over a picture of the screen's size, each measured to the finished draw.

#include "benchgl.h"
#include "app/paths.h"
#include "nodes/nodetypes.h"
#include "nodes/texture/turingpatternnode.h"
#include "ports/port.h"
#include "render/texture.h"
#include "scene/nodefactory.h"
#include "scene/pdtexture.h"
#include "scene/scene.h"
#include "scene/scenecontext.h"

#include <GL/glew.h>
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

namespace {

// Nodes of one scene on a small offscreen context, built from the data
// directory of the source tree.
class CTextureBench
{
public:
    CTextureBench()
    {
        setenv("LUMORA_APPPATH", LUMORA_SOURCE_DATA_DIR, 0);
        g_paths.Setup();
        m_factory->Init(NodeTypes());
        m_context.m_render = m_gl.render.get();
    }
    ~CTextureBench()
    {
        m_scene.InvalidateDevice(m_gl.render.get());
        m_factory->Release();
        m_gl.render->ReleaseDevice();
    }

    CNode* Add(const char* type) { return m_scene.AddNode(type); }
    void Set(const std::string& path, const std::string& value)
    {
        std::string component;
        if (CPort* port = m_scene.FindInPort(path, &component)) {
            port->SetValue(value);
            port->m_changed = true;
        }
    }
    // Updates `node` (pulling what it reads) and makes its device objects.
    bool Ready(CNode* node)
    {
        node->Update(0.0f, &m_context);
        return m_gl.ok && m_scene.RestoreDevice(m_gl.render.get());
    }

    SBenchGL m_gl;
    CNodeFactory* m_factory = CNodeFactory::Get();
    CScene m_scene;
    CSceneContext m_context;
};

void BM_Texture_Expression(benchmark::State& state)
{
    CTextureBench bench;
    const int side = int(state.range(0));
    CNode* node = bench.Add("ExpressionTexture");
    bench.Set("ExpressionTexture1.Width", std::to_string(side));
    bench.Set("ExpressionTexture1.Height", std::to_string(side));
    // The same kind of work as the expression benchmarks: arithmetic and a sine per value.
    bench.Set("ExpressionTexture1.Expression", "col.r = sin(x * 6.28 + in1) * 0.5 + 0.5; col.g = x * y; col.b = y; col.a = 1;");
    if (!bench.Ready(node)) {
        state.SkipWithError("no GL context");
        return;
    }
    for (auto _ : state)
        node->RestoreDevice(bench.m_gl.render.get());
    state.counters["ns_per_texel"] = benchmark::Counter(double(side) * side, benchmark::Counter::kIsIterationInvariantRate |
                                                                                  benchmark::Counter::kInvert);
}
BENCHMARK(BM_Texture_Expression)->Arg(256)->Arg(1024)->Unit(benchmark::kMillisecond);

void BM_Texture_Turing(benchmark::State& state)
{
    CTextureBench bench;
    const int side = int(state.range(0));
    auto* node = dynamic_cast<CTuringPatternNode*>(bench.Add("TuringPattern"));
    bench.Set("TuringPattern1.Width", std::to_string(side));
    bench.Set("TuringPattern1.Height", std::to_string(side));
    for (auto _ : state)
        node->Step();
}
BENCHMARK(BM_Texture_Turing)->Arg(256)->Arg(512)->Unit(benchmark::kMillisecond);

// `type` over a random picture of the size, to the finished draw.
void PostChain(benchmark::State& state, const char* type)
{
    CTextureBench bench;
    const int width = int(state.range(0)), height = int(state.range(1));
    bench.Add("RandomTexture");
    CNode* node = bench.Add(type);
    bench.Set("RandomTexture1.Width", std::to_string(width));
    bench.Set("RandomTexture1.Height", std::to_string(height));
    bench.Set("RandomTexture1.CountRel", "100");
    bench.m_scene.Connect("RandomTexture1.Texture", std::string(type) + "1.Texture");
    if (!bench.Ready(node)) {
        state.SkipWithError("no GL context");
        return;
    }
    auto* post = dynamic_cast<CPDTexture*>(node);
    for (auto _ : state) {
        benchmark::DoNotOptimize(post->GetTexture(bench.m_gl.render.get()));
        glFinish();
    }
}

void BM_Post_Bloom(benchmark::State& state)
{
    PostChain(state, "Bloom");
}
BENCHMARK(BM_Post_Bloom)->Args({640, 360})->Args({1280, 720})->Unit(benchmark::kMillisecond);

void BM_Post_Blur(benchmark::State& state)
{
    PostChain(state, "Blur");
}
BENCHMARK(BM_Post_Blur)->Args({640, 360})->Args({1280, 720})->Unit(benchmark::kMillisecond);

} // namespace
