// Galaxy, Starfield and Grass: how many elements they hand their batchers,
// and where those lie.

#include "app/random.h"
#include "nodes/simulation/galaxynode.h"
#include "nodes/simulation/grassnode.h"
#include "nodes/simulation/starfieldnode.h"
#include "nodes/value/valuegraph.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

float Length(float x, float y, float z)
{
    return std::sqrt(x * x + y * y + z * z);
}

} // namespace

TEST(StarSimulations, GalaxyStarsStayWithinTheirRadius)
{
    g_random.Seed(1);
    CValueGraph graph;
    auto* node = static_cast<CGalaxyNode*>(graph.Add("Galaxy"));
    struct Row
    {
        const char* radius;
        const char* ratio;
    };
    for (const Row row : {Row{"1", "1"}, Row{"3", "0.85"}, Row{"2", "1"}}) {
        SCOPED_TRACE(row.radius);
        CValueGraph::Set(node, "NumStars", "500");
        CValueGraph::Set(node, "GalaxyRadius", row.radius);
        CValueGraph::Set(node, "EllipseRatio", row.ratio);
        for (int f = 0; f < 3; ++f)
            graph.Frame(node, 1.0f / 30.0f);
        ASSERT_EQ(node->GetStars().size(), 500u);
        const auto records = node->GetPoints().Records<CRenderPoints::SSized>();
        ASSERT_GE(records.size(), 500u);
        for (size_t i = 0; i < 500; ++i) {
            const float r = node->GetStars()[i].radius;
            const float d = Length(records[i].x, records[i].y, records[i].z);
            // Radius 1 puts every star on the unit circle; a round ellipse
            // keeps each on its own circle.
            if (std::string(row.ratio) == "1") {
                ASSERT_NEAR(d, r, 1e-4f);
            }
            ASSERT_LE(d, r + 1e-4f);
            ASSERT_GE(r, 1.0f);
            ASSERT_LE(r, std::stof(row.radius) + 1e-4f);
            ASSERT_EQ(records[i].sx, 0.1f);
        }
    }
}

TEST(StarSimulations, StarfieldWrapsItsStarsInTheCubeAndColoursByDistance)
{
    g_random.Seed(2);
    CValueGraph graph;
    auto* node = static_cast<CStarfieldNode*>(graph.Add("Starfield"));
    CValueGraph::Set(node, "NumStars", "300");
    CValueGraph::Set(node, "Dir", "0.5 -0.3 3");
    CValueGraph::Set(node, "PrimType", "0");
    for (int f = 0; f < 40; ++f) {
        graph.Frame(node, 1.0f / 30.0f);
        ASSERT_EQ(node->GetStars().size(), 300u);
        const float step = 3.2f / 30.0f;
        for (const auto& s : node->GetStars())
            for (float p : s.position)
                ASSERT_LE(std::fabs(p), 1.0f + step);
    }
    // The start colour is black, the end colour white: a star's grey is its
    // nearness to the centre.
    const auto records = node->GetPoints().Records<CRenderPoints::SPoint>();
    for (size_t i = 0; i < 300; ++i) {
        const auto& s = node->GetStars()[i];
        const float near = 1.0f - std::min(Length(s.position[0], s.position[1], s.position[2]), 1.0f);
        ASSERT_NEAR(s.color[0], near, 1e-5f);
        ASSERT_FLOAT_EQ(records[i].z, s.position[2] * 10.0f); // SpaceSize z
    }

    // Standing still: nothing moves, and the colours stay.
    CValueGraph::Set(node, "Dir", "0 0 0");
    graph.Frame(node, 1.0f / 30.0f);
    const auto before = node->GetStars()[7];
    graph.Frame(node, 1.0f / 30.0f);
    EXPECT_EQ(node->GetStars()[7].position[0], before.position[0]);
    EXPECT_EQ(node->GetStars()[7].color[1], before.color[1]);
}

TEST(StarSimulations, GrassGrowsAStrawOnEveryVertexAndKeepsItOutOfTheSphere)
{
    g_random.Seed(3);
    CValueGraph graph;
    auto* grass = static_cast<CGrassNode*>(graph.Add("Grass"));
    graph.Frame(grass, 1.0f / 30.0f);
    EXPECT_TRUE(grass->GetStraws().empty()); // no mesh, no straws

    CNode* sphere = graph.Add("Sphere");
    CValueGraph::Set(sphere, "NumRings", "6");
    CValueGraph::Set(sphere, "NumSegments", "8");
    ASSERT_TRUE(grass->Connect("Mesh", sphere, "Mesh"));
    CValueGraph::Set(grass, "WindDir", "3 0 1");
    for (int f = 0; f < 90; ++f)
        graph.Frame(grass, 1.0f / 30.0f);
    ASSERT_GT(grass->GetStraws().size(), 40u);
    for (const auto& s : grass->GetStraws()) {
        ASSERT_NEAR(Length(s.p1[0], s.p1[1], s.p1[2]), 1.0f, 1e-4f); // rooted on the unit sphere
        ASSERT_GE(Length(s.p2[0], s.p2[1], s.p2[2]), 1.0f - 1e-4f);
        ASSERT_GE(Length(s.p3[0], s.p3[1], s.p3[2]), 1.0f - 1e-4f);
        ASSERT_GE(s.length, 0.25f);
        ASSERT_LE(s.length, 1.0f);
        // The constraints hold the top within reach of its root.
        const float reach = Length(s.p3[0] - s.p1[0], s.p3[1] - s.p1[1], s.p3[2] - s.p1[2]);
        ASSERT_LE(reach, 2.0f * s.length * 1.5f);
    }
}
