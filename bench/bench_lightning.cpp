// Cost of building the bolts of the Lightning node in one frame: the script
// for every bolt, the subdivision with default branching and the volume
// lines' quads, with no device.

#include "app/random.h"
#include "nodes/nodetypes.h"
#include "nodes/simulation/lightningnode.h"
#include "ports/port.h"
#include "scene/nodefactory.h"
#include "scene/scenecontext.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

namespace {

void BM_Lightning(benchmark::State& state)
{
    CNodeFactory* factory = CNodeFactory::Get();
    factory->Init(NodeTypes());
    g_random.Seed(5);
    std::unique_ptr<CNode> node = factory->Create("Lightning");
    CPort* bolts = node->GetInPort("NumBolts");
    bolts->SetValue(std::to_string(state.range(0)));
    bolts->m_changed = true;
    CSceneContext context;
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

} // namespace

BENCHMARK(BM_Lightning)->Arg(1)->Arg(10)->Arg(50)->Unit(benchmark::kMicrosecond);
