// Per-frame cost of the self-playing games and of the line nodes at their
// default settings on a 16:9 window, with no device: the game or simulation
// step and the filling of the batcher. The Maze's first frame generates the
// maze; later frames only walk.

#include "app/random.h"
#include "nodes/nodetypes.h"
#include "ports/port.h"
#include "scene/node.h"
#include "scene/nodefactory.h"
#include "scene/scenecontext.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

namespace {

void PullFrames(benchmark::State& state, const char* type, const char* port = nullptr, const char* value = nullptr)
{
    CNodeFactory* factory = CNodeFactory::Get();
    factory->Init(NodeTypes());
    g_random.Seed(5);
    std::unique_ptr<CNode> node = factory->Create(type);
    if (port) {
        CPort* in = node->GetInPort(port);
        in->SetValue(value);
        in->m_changed = true;
    }
    CSceneContext context;
    context.m_aspect = 16.0f / 9.0f;
    context.m_lastAspect = context.m_aspect;
    for (auto _ : state) {
        context.m_deltaTime = 1.0f / 30.0f;
        context.m_time += context.m_deltaTime;
        node->m_updated = false;
        node->Pull(&context, context.m_time);
        node->ClearChangedFlags();
        node->FrameFinished();
    }
    node.reset();
    factory->Release();
}

void BM_Game(benchmark::State& state, const char* type)
{
    PullFrames(state, type);
}

void BM_LineNode(benchmark::State& state, const char* type)
{
    PullFrames(state, type);
}

// Lines at a rate that keeps a hundred lines alive.
void BM_LineNode_Lines100(benchmark::State& state)
{
    PullFrames(state, "Lines", "LinesPerSec", "100");
}

} // namespace

BENCHMARK_CAPTURE(BM_Game, Asteroids, "Asteroids")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Game, PingPong, "PingPong")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Game, Maze, "Maze")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_LineNode, MatrixTrails, "MatrixTrails")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_LineNode, LineBounce, "LineBounce")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_LineNode, Lines, "Lines")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LineNode_Lines100)->Unit(benchmark::kMicrosecond);
