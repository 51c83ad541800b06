// Frames after the first allocate nothing: the Voronoi sweep's pools and
// arrays are reset, not freed, Shatter allocates only when it builds a
// pattern, the fluid's active list has room for every node its particles
// can touch, and a metaball surface reuses its walk's lists.

#include "app/random.h"
#include "nodes/object/metaballsnode.h"
#include "nodes/value/valuegraph.h"
#include "support/allocationcount.h"

#include <gtest/gtest.h>

#include <array>

namespace {

class CCountingSink : public CMetaballSink
{
public:
    CCountingSink() { Flush(); }
    bool Flush() override
    {
        m_vertices = m_room.data();
        m_indices = m_indexRoom.data();
        m_vertexCount = m_indexCount = 0;
        return true;
    }

private:
    std::array<SVertexPNTC, CMetaballSurface::MaxVertices> m_room{};
    std::array<uint16_t, CMetaballSurface::MaxIndices> m_indexRoom{};
};

} // namespace

TEST(SteadyFrames, AllocateNothingOnceRunning)
{
    struct Row
    {
        const char* type;
        std::vector<std::pair<const char*, const char*>> ports;
        int warmUp;
    };
    const Row rows[] = {
        {"Voronoi",
         {{"NumPoints", "300"},
          {"Expression", "pos.x = sin(pointnr * 1.7 + time) * 0.9; pos.y = cos(pointnr * 2.3 + time * 0.7) * 0.9;"}},
         1},
        {"Voronoi", {{"NumPoints", "300"}, {"LineWidth", "0.01"}, {"PointSize", "0.02"}}, 1},
        // Built at the first step, then falling.
        {"Shatter", {{"NumPoints", "500"}, {"ShatterDelay", "0"}}, 2},
        {"Fluid2d", {{"NumParticles", "2000"}, {"GridCellsX", "60"}, {"GridCellsY", "40"}}, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.type);
        g_random.Seed(6);
        CValueGraph graph;
        CNode* node = graph.Add(row.type);
        for (const auto& [port, value] : row.ports)
            CValueGraph::Set(node, port, value);
        for (int i = 0; i < row.warmUp; ++i)
            graph.Frame(node, 1.0f / 30.0f);
        StartCountingAllocations();
        for (int i = 0; i < 60; ++i)
            graph.Frame(node, 1.0f / 30.0f);
        EXPECT_EQ(StopCountingAllocations(), 0);
    }

    // The same surface again, extracted straight into the sink.
    CValueGraph graph;
    auto* metaballs = static_cast<CMetaballsNode*>(graph.Add("Metaballs"));
    CValueGraph::Set(metaballs, "Threshold", "30");
    graph.Frame(metaballs, 1.0f / 30.0f);
    CCountingSink sink;
    metaballs->ExtractSurface(sink);
    StartCountingAllocations();
    for (int i = 0; i < 10; ++i)
        metaballs->ExtractSurface(sink);
    EXPECT_EQ(StopCountingAllocations(), 0);
}
