// Voronoi diagrams: the two records of a bisector, cells whose triangles
// hold only points nearest their own site and wind alike, and
// the node's choice of batchers.

#include "app/random.h"
#include "nodes/object/voronoinode.h"
#include "nodes/value/valuegraph.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

struct SXY
{
    float x, y;
    bool operator==(const SXY&) const = default;
};

float SignedArea(float ax, float ay, float bx, float by, float cx, float cy)
{
    return 0.5f * ((bx - ax) * (cy - ay) - (by - ay) * (cx - ax));
}

} // namespace

TEST(Voronoi, CellsHoldOnlyThePointsNearestTheirSite)
{
    std::mt19937 rng(11);
    std::uniform_real_distribution<float> unit(-0.95f, 0.95f);
    const auto random = [&](int n) {
        std::vector<SXY> sites(static_cast<size_t>(n));
        for (SXY& site : sites)
            site = {unit(rng), unit(rng)};
        return sites;
    };
    std::vector<SXY> lattice, line;
    for (int i = 0; i < 64; ++i)
        lattice.push_back({float(i % 8) * 0.25f - 0.875f, float(i / 8) * 0.25f - 0.875f});
    for (int i = 0; i < 7; ++i)
        line.push_back({float(i) * 0.3f - 0.9f, 0.1f});
    const std::pair<const char*, std::vector<SXY>> rows[] = {{"two", {{-0.5f, 0.2f}, {0.5f, -0.2f}}},
                                                             {"three", random(3)},
                                                             {"random 100", random(100)},
                                                             {"random 500", random(500)},
                                                             {"lattice, four on each circle", lattice},
                                                             {"a line", line}};
    for (const auto& [name, sites] : rows) {
        SCOPED_TRACE(name);
        const int count = int(sites.size());
        CVoronoi voronoi;
        ASSERT_TRUE(voronoi.GenerateVoronoi(sites.data(), count, sizeof(SXY), -1, 1, -1, 1, 0.001f));
        const auto edges = voronoi.GetEdges();
        // Each edge comes twice, reversed, once for each side.
        ASSERT_EQ(edges.size() % 2, 0u);
        for (size_t i = 0; i < edges.size(); i += 2) {
            EXPECT_EQ(edges[i].x1, edges[i + 1].x2);
            EXPECT_EQ(edges[i].y2, edges[i + 1].y1);
            EXPECT_NE(edges[i].site, edges[i + 1].site);
        }
        // A line of 7 has 6 bisectors; a lattice's cells are squares, and
        // the edges of length 0 where four cells meet are left out.
        if (sites == line) {
            EXPECT_EQ(edges.size(), 2u * 6);
        } else if (sites == lattice) {
            EXPECT_EQ(edges.size(), 2u * (2 * 7 * 8));
        }
        if (count == 2) {
            // One bisector through the square, x = 0.4 y through the middle.
            ASSERT_EQ(edges.size(), 2u);
            EXPECT_NEAR(edges[0].x1, 0.4f * edges[0].y1, 1e-5f);
            EXPECT_NEAR(std::fabs(edges[0].y2 - edges[0].y1), 2.0f, 1e-5f);
        }
        std::uniform_real_distribution<float> share(0.0f, 1.0f);
        for (const VoronoiEdge& e : edges) {
            const SXY& s = sites[size_t(e.site)];
            const float a = SignedArea(s.x, s.y, e.x1, e.y1, e.x2, e.y2);
            ASSERT_GE(a, -1e-6f); // every cell's fan winds alike
            for (int k = 0; k < 4; ++k) {
                float u = share(rng), v = share(rng);
                if (u + v > 1.0f) {
                    u = 1.0f - u;
                    v = 1.0f - v;
                }
                const float px = s.x + u * (e.x1 - s.x) + v * (e.x2 - s.x);
                const float py = s.y + u * (e.y1 - s.y) + v * (e.y2 - s.y);
                const float own = std::hypot(px - s.x, py - s.y);
                for (const SXY& o : sites)
                    ASSERT_GE(std::hypot(px - o.x, py - o.y), own - 1e-4f) << "site " << e.site;
            }
        }
    }
}

TEST(Voronoi, NodeFansOneTriangleFromEachSiteAndPicksItsLineBatcher)
{
    g_random.Seed(2);
    CValueGraph graph;
    auto* node = static_cast<CVoronoiNode*>(graph.Add("Voronoi"));
    CValueGraph::Set(node, "NumPoints", "2");
    CValueGraph::Set(node, "Expression", "");
    graph.Frame(node, 1.0f / 30.0f);
    ASSERT_EQ(node->GetSites().size(), 2u);
    ASSERT_EQ(node->GetEdges().size(), 2u);
    for (int i = 0; i < 2; ++i) {
        SVertexPNTBTC v[3];
        node->CellTriangle(i, v);
        const auto& site = node->GetSites()[size_t(node->GetEdges()[size_t(i)].site)];
        EXPECT_EQ(v[0].position[0], site.x);
        EXPECT_EQ(v[0].position[1], site.y);
    }
    EXPECT_NE(node->GetEdges()[0].site, node->GetEdges()[1].site);
    EXPECT_FALSE(node->UsesQuads());
    EXPECT_EQ(node->GetLines().GetCount(), 2);

    // A script moves the sites; two nearer than 0.001 share no edge.
    CValueGraph::Set(node, "Expression", "pos.x = 0.3 + pointnr * 0.0009; pos.y = -0.2;");
    CValueGraph::Set(node, "LineWidth", "0.05");
    graph.Frame(node, 1.0f / 30.0f);
    EXPECT_TRUE(node->GetEdges().empty());
    CValueGraph::Set(node, "Expression", "pos.x = pointnr - 0.5; pos.y = 0; vel.x = 0;");
    graph.Frame(node, 1.0f / 30.0f);
    EXPECT_TRUE(node->UsesQuads());
    ASSERT_EQ(node->GetQuads().GetCount(), 2);

    // A script that does not parse leaves the sites as they stand.
    CValueGraph::Set(node, "Expression", "pos.x = (");
    graph.Frame(node, 1.0f / 30.0f);
    EXPECT_EQ(node->GetSites()[1].x, 0.5f);
}
