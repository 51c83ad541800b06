// Cost of one frame of the Metaballs surface, the Voronoi diagram and the
// fluid step, with no device: the work each does before anything is drawn.

#include "app/random.h"
#include "nodes/nodetypes.h"
#include "nodes/object/metaballsnode.h"
#include "ports/port.h"
#include "scene/nodefactory.h"
#include "scene/scenecontext.h"

#include <benchmark/benchmark.h>

#include <array>
#include <memory>
#include <string>

namespace {

// Takes the surface and throws it away, as a full buffer would be drawn.
class CDiscardSink : public CMetaballSink
{
public:
    CDiscardSink() { Flush(); }
    bool Flush() override
    {
        triangles += m_indexCount / 3;
        m_vertices = m_room.data();
        m_indices = m_indexRoom.data();
        m_vertexCount = m_indexCount = 0;
        return true;
    }
    long triangles = 0;

private:
    std::array<SVertexPNTC, CMetaballSurface::MaxVertices> m_room{};
    std::array<uint16_t, CMetaballSurface::MaxIndices> m_indexRoom{};
};

class CBenchNode
{
public:
    explicit CBenchNode(const char* type) : m_factory(CNodeFactory::Get())
    {
        m_factory->Init(NodeTypes());
        g_random.Seed(5);
        m_node = m_factory->Create(type);
    }
    ~CBenchNode()
    {
        m_node.reset();
        m_factory->Release();
    }
    void Set(const char* port, const std::string& value)
    {
        CPort* in = m_node->GetInPort(port);
        in->SetValue(value);
        in->m_changed = true;
    }
    void Frame()
    {
        m_context.m_deltaTime = 1.0f / 30.0f;
        m_context.m_time += m_context.m_deltaTime;
        m_node->m_updated = false;
        m_node->Pull(&m_context, m_context.m_time);
        m_node->ClearChangedFlags();
        m_node->FrameFinished();
    }
    CNode* Get() { return m_node.get(); }

private:
    CNodeFactory* m_factory;
    std::unique_ptr<CNode> m_node;
    CSceneContext m_context;
};

void BM_Metaballs(benchmark::State& state)
{
    CBenchNode node("Metaballs");
    node.Set("NumBalls", std::to_string(state.range(0)));
    node.Set("GridSize", std::to_string(state.range(1)));
    node.Set("Threshold", "60");
    auto* metaballs = static_cast<CMetaballsNode*>(node.Get());
    CDiscardSink sink;
    long cells = 0;
    for (auto _ : state) {
        node.Frame();
        metaballs->ExtractSurface(sink);
        cells += metaballs->GetSurface().GetMarchedCells();
    }
    state.counters["cells"] = benchmark::Counter(double(cells), benchmark::Counter::kAvgIterations);
    state.counters["triangles"] = benchmark::Counter(double(sink.triangles), benchmark::Counter::kAvgIterations);
}

void BM_Voronoi(benchmark::State& state)
{
    CBenchNode node("Voronoi");
    node.Set("NumPoints", std::to_string(state.range(0)));
    // Sites that drift, so that every frame is a new diagram.
    node.Set("Expression", "vel.x = sin(pointnr + time) * 0.01; vel.y = cos(pointnr * 1.3 + time) * 0.01;");
    for (auto _ : state)
        node.Frame();
    state.SetComplexityN(state.range(0));
}

void BM_Fluid2d(benchmark::State& state)
{
    CBenchNode node("Fluid2d");
    node.Set("NumParticles", std::to_string(state.range(0)));
    node.Set("GridCellsX", "200");
    node.Set("GridCellsY", "200");
    for (auto _ : state)
        node.Frame();
    state.SetComplexityN(state.range(0));
}

} // namespace

BENCHMARK(BM_Metaballs)
    ->ArgsProduct({{4, 8, 16}, {32, 64, 128}})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Voronoi)->RangeMultiplier(2)->Range(256, 4096)->Complexity()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Fluid2d)->RangeMultiplier(2)->Range(2048, 32768)->Complexity()->Unit(benchmark::kMicrosecond);
