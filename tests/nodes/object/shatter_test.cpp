// Shatter: nothing before the first step, patterns whose pieces tile the
// plane, corners that stop on the floor and pieces that come home.

#include "app/random.h"
#include "nodes/object/shatternode.h"
#include "nodes/value/valuegraph.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

class Shatter : public ::testing::Test
{
protected:
    void SetUp() override
    {
        g_random.Seed(9);
        m_node = static_cast<CShatterNode*>(m_graph.Add("Shatter"));
        Set("NumPoints", "200");
    }
    void Set(const char* port, const std::string& value) { CValueGraph::Set(m_node, port, value); }
    void Step() { m_graph.Frame(m_node, CShatterNode::StepLength); }

    CValueGraph m_graph;
    CShatterNode* m_node = nullptr;
};

float HomeArea(const CShatterNode::STriangle& t)
{
    const auto& a = t.corner[0].home;
    const auto& b = t.corner[1].home;
    const auto& c = t.corner[2].home;
    return 0.5f * std::fabs((b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]));
}

} // namespace

TEST_F(Shatter, PatternsOfBothKindsTileThePlane)
{
    m_graph.Frame(m_node, 0.01f);
    EXPECT_TRUE(m_node->GetTriangles().empty()); // no step yet
    // With no phases every step builds a new pattern, the two kinds in turn.
    Set("ShatterDelay", "0");
    Set("ShatterTime", "0");
    Set("RebuildTime", "0");
    Set("RebuildTimeVar", "0");
    int last = -1;
    for (int build = 0; build < 6; ++build) {
        Step();
        const int pattern = CShatterNode::GetPatternSwitch();
        SCOPED_TRACE(testing::Message() << "pattern " << pattern);
        EXPECT_NE(pattern, last);
        last = pattern;
        float area = 0.0f;
        for (const auto& t : m_node->GetTriangles())
            area += HomeArea(t);
        EXPECT_NEAR(area, 36.0f, 1e-3f);
        EXPECT_GT(m_node->GetTriangles().size(), 100u);
        EXPECT_LE(m_node->GetTriangles().size(), 2u * 200u);
    }
}

TEST_F(Shatter, CornersStopOnTheFloorAndPiecesComeHome)
{
    Set("ShatterDelay", "0");
    Set("ShatterTime", "2");
    Set("RebuildTime", "0.3");
    Set("RebuildTimeVar", "1");
    Set("Gravity", "0 -90 0");
    Step(); // builds
    for (int i = 0; i < 59; ++i)
        Step();
    int onFloor = 0;
    for (const auto& t : m_node->GetTriangles())
        for (const auto& c : t.corner) {
            ASSERT_GE(c.position[1], CShatterNode::Floor - 0.05f);
            onFloor += std::fabs(c.position[1] - CShatterNode::Floor) < 0.05f;
        }
    EXPECT_GT(onFloor, 0);

    // Rebuilding: each piece is home once its own duration has passed.
    while (m_node->GetClock() < 2.0f + 1.3f - 0.04f)
        Step();
    const float since = m_node->GetClock() - 2.0f;
    int home = 0;
    for (const auto& t : m_node->GetTriangles()) {
        if (t.rebuild * 1.0f + 0.3f > since)
            continue;
        ++home;
        for (const auto& c : t.corner)
            for (int k = 0; k < 3; ++k)
                ASSERT_NEAR(c.position[k], c.home[k], 1e-4f);
    }
    EXPECT_GT(home, 0);
}
