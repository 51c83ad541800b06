// Cost of the particle system and the batchers: one simulation step of a
// steady population with and without the flow field, the draw of that
// population through the billboard batcher, and the line batcher's three
// rotating buffers against one plain buffer holding all the vertices.

#include "benchgl.h"
#include "app/random.h"
#include "nodes/nodetypes.h"
#include "nodes/object/particlesnode.h"
#include "ports/port.h"
#include "render/renderlines.h"
#include "scene/nodefactory.h"
#include "scene/renderlist.h"
#include "scene/scenecontext.h"

#include <GL/glew.h>
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace {

struct SGLTarget : SBenchGL
{
    ~SGLTarget() { render->ReleaseDevice(); }
};

// `count` particles, born in one step of a second, that live through the
// whole benchmark: its steps are too short to age them noticeably, and cost
// what a frame's step costs.
class CPopulation
{
public:
    CPopulation(int count, bool flowField, CRender* render) : m_factory(CNodeFactory::Get())
    {
        m_factory->Init(NodeTypes());
        g_random.Seed(5);
        m_node.reset(static_cast<CParticlesNode*>(m_factory->Create("Particles").release()));
        Set("ParticlesPerSec", std::to_string(count));
        Set("TimeToLive", "1.5");
        Set("TimeToLiveVar", "0");
        Set("EmitterRadius", "2");
        Set("Size", "0.002");
        Set("FlowField", flowField ? "true" : "false");
        m_context.m_render = render;
        Step(1.0f);
        Set("ParticlesPerSec", "0");
    }
    ~CPopulation()
    {
        if (m_context.m_render)
            m_node->InvalidateDevice(m_context.m_render);
        m_node.reset();
        m_factory->Release();
    }

    void Set(const char* port, const std::string& value)
    {
        CPort* in = m_node->GetInPort(port);
        in->SetValue(value);
        in->m_changed = true;
    }
    void Step(float delta)
    {
        m_node->m_updated = false;
        m_context.m_deltaTime = delta;
        m_context.m_time += delta;
        m_node->Pull(&m_context, m_context.m_time);
        m_node->ClearChangedFlags();
        m_node->FrameFinished();
    }
    CParticlesNode& Node() { return *m_node; }

private:
    CNodeFactory* m_factory;
    std::unique_ptr<CParticlesNode> m_node;
    CSceneContext m_context;
};

void BM_Particles_Update(benchmark::State& state)
{
    CPopulation population(int(state.range(0)), state.range(1) != 0, nullptr);
    for (auto _ : state)
        population.Step(1e-6f);
    state.SetItemsProcessed(state.iterations() * population.Node().GetLiveCount());
}
BENCHMARK(BM_Particles_Update)
    ->ArgNames({"", "flow"})
    ->ArgsProduct({{10000, 100000, 1000000}, {0, 1}})
    ->Unit(benchmark::kMillisecond);

void BM_Particles_Draw(benchmark::State& state)
{
    SGLTarget gl;
    if (!gl.ok) {
        state.SkipWithError("no GL context");
        return;
    }
    CPopulation population(int(state.range(0)), false, gl.render.get());
    CRenderList list;
    const auto& points = population.Node().GetPoints();
    population.Node().BuildRenderList(&list, &list.GetRootList(), nullptr);
    for (auto _ : state) {
        const_cast<CRenderPoints&>(points).Draw(gl.render.get());
        glFinish();
    }
    state.SetItemsProcessed(state.iterations() * population.Node().GetLiveCount());
}
BENCHMARK(BM_Particles_Draw)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

// The lines as the batcher draws them: chunks of 1000 through three buffers.
void BM_Batcher_Lines(benchmark::State& state)
{
    SGLTarget gl;
    const int count = int(state.range(0));
    CRenderLines lines;
    if (!gl.ok || !lines.RestoreDevice(gl.render.get())) {
        state.SkipWithError("no GL context");
        return;
    }
    const float color[4] = {1, 1, 1, 1};
    for (int i = 0; i < count; ++i)
        lines.AddLine({float(i % 100) * 0.01f, 0, 1}, {0, float(i % 70) * 0.01f, 1}, color);
    for (auto _ : state) {
        lines.Draw(gl.render.get());
        glFinish();
    }
    state.SetItemsProcessed(state.iterations() * count);
    lines.InvalidateDevice(gl.render.get());
}
BENCHMARK(BM_Batcher_Lines)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);

// The same vertices written into one buffer big enough for all of them and
// drawn at once: what the rotation must not be slower than.
void BM_Batcher_Lines_OneBuffer(benchmark::State& state)
{
    SGLTarget gl;
    const int count = int(state.range(0));
    std::unique_ptr<CVertexBuffer> buffer;
    if (!gl.ok || !(buffer = gl.render->CreateVertexBuffer(2 * count, VBF_DYNAMIC, VBF_PNTBTC))) {
        state.SkipWithError("no GL context");
        return;
    }
    CRenderLines lines;
    const float color[4] = {1, 1, 1, 1};
    for (int i = 0; i < count; ++i)
        lines.AddLine({float(i % 100) * 0.01f, 0, 1}, {0, float(i % 70) * 0.01f, 1}, color);
    for (auto _ : state) {
        auto* out = static_cast<SVertexPNTBTC*>(buffer->Lock());
        for (int i = 0; i < count; ++i) {
            const CRenderLines::SLine& line = *lines.GetLine(i);
            *out++ = {{line.end.x, line.end.y, line.end.z}, line.end.color, {0, 0.5f}, {0, 0, -1}, {1, 0, 0}, {0, -1, 0}, 0};
            *out++ = {{line.start.x, line.start.y, line.start.z}, line.start.color, {1, 0.5f}, {0, 0, -1}, {1, 0, 0}, {0, -1, 0}, 0};
        }
        buffer->Unlock();
        gl.render->SetVertexBuffer(buffer.get());
        gl.render->DrawPrimitive(PT_Lines, 0, count);
        glFinish();
    }
    state.SetItemsProcessed(state.iterations() * count);
    buffer.reset();
}
BENCHMARK(BM_Batcher_Lines_OneBuffer)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);

} // namespace
