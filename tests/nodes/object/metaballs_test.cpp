// Metaball surfaces: closed, at the radius the field gives, merging and
// splitting with the balls' distance; and the node's threshold floor and
// walls.

#include "app/random.h"
#include "nodes/object/metaballsnode.h"
#include "nodes/value/valuegraph.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <map>
#include <numeric>
#include <tuple>

namespace {

// Collects every flushed batch into one indexed mesh, checking the batches'
// bounds on the way.
class CCollectSink : public CMetaballSink
{
public:
    CCollectSink() { Reset(); }
    bool Flush() override
    {
        EXPECT_LE(m_vertexCount, CMetaballSurface::MaxVertices);
        EXPECT_LE(m_indexCount, CMetaballSurface::MaxIndices);
        const auto base = uint32_t(vertices.size());
        vertices.insert(vertices.end(), m_room.begin(), m_room.begin() + m_vertexCount);
        for (int i = 0; i < m_indexCount; ++i) {
            EXPECT_LT(m_indexRoom[size_t(i)], m_vertexCount);
            indices.push_back(base + m_indexRoom[size_t(i)]);
        }
        ++flushes;
        Reset();
        return true;
    }

    std::vector<SVertexPNTC> vertices;
    std::vector<uint32_t> indices;
    int flushes = 0;

private:
    void Reset()
    {
        m_vertices = m_room.data();
        m_indices = m_indexRoom.data();
        m_vertexCount = m_indexCount = 0;
    }
    std::array<SVertexPNTC, CMetaballSurface::MaxVertices> m_room{};
    std::array<uint16_t, CMetaballSurface::MaxIndices> m_indexRoom{};
};

SMetaball Ball(float x, float y, float z)
{
    return SMetaball{{x, y, z}, {0, 0, 0}, {0, 0, 0}, 1.0f, 1.0f};
}

using Key = std::tuple<float, float, float>;

// Vertices of neighbouring cells on one edge coincide exactly: weld them.
std::vector<int> Weld(const CCollectSink& sink)
{
    std::map<Key, int> ids;
    std::vector<int> id;
    for (const SVertexPNTC& v : sink.vertices)
        id.push_back(ids.try_emplace(Key{v.position[0], v.position[1], v.position[2]}, int(ids.size())).first->second);
    return id;
}

// Every directed edge of a closed, consistently wound surface has its
// reverse once, and no other copy.
void ExpectClosed(const CCollectSink& sink)
{
    const std::vector<int> id = Weld(sink);
    std::map<std::pair<int, int>, int> directed;
    for (size_t t = 0; t + 2 < sink.indices.size(); t += 3)
        for (int e = 0; e < 3; ++e)
            ++directed[{id[sink.indices[t + size_t(e)]], id[sink.indices[t + size_t(e + 1) % 3]]}];
    int open = 0;
    for (const auto& [edge, count] : directed)
        open += count != 1 || directed.count({edge.second, edge.first}) != 1 ||
                directed.at({edge.second, edge.first}) != 1;
    EXPECT_EQ(open, 0);
}

// Pieces of the welded surface that share no vertex.
int Components(const CCollectSink& sink)
{
    const std::vector<int> id = Weld(sink);
    std::vector<int> parent(sink.vertices.size());
    std::iota(parent.begin(), parent.end(), 0);
    const auto find = [&](int a) {
        while (parent[size_t(a)] != a)
            a = parent[size_t(a)] = parent[size_t(parent[size_t(a)])];
        return a;
    };
    for (size_t t = 0; t + 2 < sink.indices.size(); t += 3)
        for (int e = 1; e < 3; ++e)
            parent[size_t(find(id[sink.indices[t]]))] = find(id[sink.indices[t + size_t(e)]]);
    std::map<int, bool> roots;
    for (int v : id)
        roots[find(v)] = true;
    return int(roots.size());
}

} // namespace

TEST(MetaballSurface, OneBallGivesAClosedSphereAtTheRadiusOfTheThreshold)
{
    // Energy 1/d² meets the threshold t at d = 1/sqrt(t). The ball's own
    // cell lies inside at these radii, so the walk must go down -z first.
    struct Row
    {
        int grid;
        float threshold;
    };
    for (const Row row : {Row{40, 25.0f}, Row{50, 20.0f}, Row{150, 30.0f}}) {
        SCOPED_TRACE(testing::Message() << "grid " << row.grid << " threshold " << row.threshold);
        CMetaballSurface surface;
        surface.SetGridSize(row.grid);
        const std::vector<SMetaball> balls{Ball(0.031f, 0.012f, -0.023f)};
        CCollectSink sink;
        surface.Extract(balls, row.threshold, sink);
        ASSERT_GT(sink.indices.size(), 100u);
        ExpectClosed(sink);
        EXPECT_EQ(Components(sink), 1);

        const float radius = 1.0f / std::sqrt(row.threshold);
        const float cell = surface.GetCellSize();
        for (const SVertexPNTC& v : sink.vertices) {
            const SVec3 d{v.position[0] - balls[0].position[0], v.position[1] - balls[0].position[1],
                          v.position[2] - balls[0].position[2]};
            const float distance = std::sqrt(Dot(d, d));
            ASSERT_NEAR(distance, radius, 0.1f * cell);
            // Normals point outwards.
            EXPECT_GT(Dot(SVec3{v.normal[0], v.normal[1], v.normal[2]}, d) / distance, 0.99f);
        }
        // Every triangle faces outwards as the default culling keeps it.
        for (size_t t = 0; t < sink.indices.size(); t += 3) {
            const auto at = [&](size_t k) {
                const auto& p = sink.vertices[sink.indices[t + k]].position;
                return SVec3{p[0], p[1], p[2]};
            };
            const SVec3 outward = at(0) - SVec3{balls[0].position[0], balls[0].position[1], balls[0].position[2]};
            ASSERT_LE(Dot(Cross(at(1) - at(0), at(2) - at(0)), outward), 0.0f) << "triangle " << t / 3;
        }
        // The walk stays on the shell, and its energies are shared by the
        // cells around each point.
        const int cells = row.grid * row.grid * row.grid;
        EXPECT_LT(surface.GetMarchedCells(), cells / 10);
        EXPECT_LT(surface.GetEnergyPoints(), 3 * surface.GetMarchedCells());
        if (row.grid == 150) {
            EXPECT_GT(sink.flushes, 1);
        }
    }
}

TEST(MetaballSurface, TwoBallsMergeWhenCloseAndSplitWhenApart)
{
    struct Row
    {
        const char* name;
        float halfDistance;
        int components;
    };
    for (const Row row : {Row{"touching", 0.15f, 1}, Row{"apart", 0.5f, 2}}) {
        SCOPED_TRACE(row.name);
        CMetaballSurface surface;
        surface.SetGridSize(60);
        const std::vector<SMetaball> balls{Ball(-row.halfDistance, 0.01f, 0.02f), Ball(row.halfDistance, 0.01f, 0.02f)};
        CCollectSink sink;
        surface.Extract(balls, 25.0f, sink);
        ExpectClosed(sink);
        EXPECT_EQ(Components(sink), row.components);
    }
}

TEST(MetaballsNode, ThresholdHasAFloorAndBallsStopAtTheWalls)
{
    g_random.Seed(3);
    CValueGraph graph;
    auto* node = static_cast<CMetaballsNode*>(graph.Add("Metaballs"));
    CValueGraph::Set(node, "NumBalls", "3");
    CValueGraph::Set(node, "GridSize", "20");
    CValueGraph::Set(node, "Threshold", "5");
    graph.Frame(node, 1.0f / 30.0f);
    ASSERT_EQ(node->GetBalls().size(), 3u);
    EXPECT_EQ(node->GetThreshold(), CMetaballsNode::MinThreshold);
    CCollectSink low;
    node->ExtractSurface(low);
    CValueGraph::Set(node, "Threshold", "20");
    graph.Frame(node, 0.0f);
    CCollectSink floor;
    node->ExtractSurface(floor);
    EXPECT_EQ(low.vertices.size(), floor.vertices.size());

    // A ball running into the wall stays one cell inside it, stopped in
    // that axis only.
    SMetaball& ball = node->GetBalls()[0];
    ball.position[0] = 0.85f;
    ball.velocity[0] = 5.0f;
    ball.velocity[1] = 0.01f;
    ball.velocity[2] = 0.0f;
    graph.Frame(node, 1.0f / 30.0f);
    EXPECT_FLOAT_EQ(ball.position[0], 1.0f - 0.1f);
    EXPECT_EQ(ball.velocity[0], 0.0f);
    EXPECT_NE(ball.velocity[1], 0.0f);

    CValueGraph::Set(node, "NumBalls", "1");
    graph.Frame(node, 1.0f / 30.0f);
    EXPECT_EQ(node->GetBalls().size(), 1u);
}
