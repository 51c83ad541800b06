// The Driftcrest node pulled frame by frame without a device: the ripple of a
// port change down the stack, the fan about the centre, the stack's offset,
// new objects, the sticky point and outline batchers and the corners handed
// to them.

#include "app/random.h"
#include "nodes/object/driftcrestnode.h"
#include "nodes/value/valuegraph.h"
#include "support/allocationcount.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iterator>

namespace {

class Driftcrest : public ::testing::Test
{
protected:
    void SetUp() override { m_node = static_cast<CDriftcrestNode*>(m_graph.Add("Driftcrest")); }
    void Set(const char* port, const std::string& value) { CValueGraph::Set(m_node, port, value); }
    void Frames(int n)
    {
        for (int i = 0; i < n; ++i)
            m_graph.Frame(m_node, 1.0f / 30.0f);
    }
    const CDriftcrestNode::SObjectState& State(int i) const
    {
        return *std::next(m_node->GetStates().begin(), i);
    }
    // The angle of the state's x axis in the x-y plane, in degrees.
    float Turn(int i) const
    {
        const CMatrix& m = State(i).matrix;
        return std::atan2(m[1], m[0]) / DegreesToRadians;
    }

    CValueGraph m_graph;
    CDriftcrestNode* m_node = nullptr;
};

} // namespace

TEST_F(Driftcrest, OneObjectFollowsAtOnceHalfAStepBelowTheCentre)
{
    Set("ObjectYDelta", "0.4");
    Set("ObjectRot", "0 0 30");
    Frames(1);
    ASSERT_EQ(m_node->GetStates().size(), 1u);
    EXPECT_NEAR(State(0).matrix[13], -0.2f, 1e-6f);
    EXPECT_NEAR(Turn(0), 30.0f, 1e-3f);
    Set("ObjectRot", "0 0 45");
    Frames(1);
    EXPECT_NEAR(Turn(0), 45.0f, 1e-3f);
}

TEST_F(Driftcrest, AChangeRipplesDownTheStackOneFrameAnObject)
{
    Set("NumObjects", "4");
    Frames(2);
    Set("ObjectRot", "0 0 20");
    for (int frame = 0; frame < 4; ++frame) {
        Frames(1);
        SCOPED_TRACE(frame);
        for (int i = 0; i < 4; ++i)
            EXPECT_NEAR(Turn(i), i <= frame ? 20.0f : 0.0f, 1e-3f) << i;
        // Stacked D apart from -D * N / 2 upwards.
        for (int i = 0; i < 4; ++i)
            EXPECT_NEAR(State(i).matrix[13], float(i) - 2.0f, 1e-5f) << i;
    }
}

TEST_F(Driftcrest, TheFanAboutTheCentreFollowsThePortAtOnce)
{
    Set("NumObjects", "3");
    Set("ObjectCAxisRot", "0 0 10");
    Frames(1);
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(Turn(i), 10.0f * float(i + 1), 1e-3f) << i;
}

TEST_F(Driftcrest, NewObjectsHoldTheDefaultStateUntilTheyReachTheFront)
{
    Set("NumObjects", "2");
    Set("ObjectScale", "3 3 3");
    Frames(3);
    Set("NumObjects", "4");
    Frames(1);
    ASSERT_EQ(m_node->GetStates().size(), 4u);
    // New ones join at the end: the last went to the front with this
    // frame's ports, the other still holds the default until it gets there.
    for (int i = 0; i < 3; ++i)
        EXPECT_FLOAT_EQ(State(i).scale[0], 3.0f) << i;
    EXPECT_FLOAT_EQ(State(3).scale[0], 1.0f);
    Frames(1);
    EXPECT_FLOAT_EQ(State(0).scale[0], 3.0f);
    EXPECT_EQ(m_node->GetQuads().GetCount(), 4);
}

TEST_F(Driftcrest, PointsAndOutlinesStayOnOnceTheyHaveShown)
{
    Frames(2);
    EXPECT_FALSE(m_node->PointSeen());
    EXPECT_FALSE(m_node->OutlineSeen());
    Set("PointCol", "0 0 0.5 0");
    Frames(1);
    Set("PointCol", "0 0 0 0");
    Frames(1);
    EXPECT_TRUE(m_node->PointSeen());
    EXPECT_FALSE(m_node->OutlineSeen());
}

TEST_F(Driftcrest, QuadCornersSpanTheObjectsAxesAndSettledFramesAllocateNothing)
{
    Set("NumObjects", "5");
    Set("ObjectScale", "2 0.5 1");
    Set("CenterAxisDist", "1 0 0");
    Frames(6);
    const SQuad& quad = m_node->GetQuads().GetQuads()[0];
    // Corners a, b, d, c of a 2 x 0.5 rectangle about (1, -2.5).
    EXPECT_NEAR(quad.v[0].position[0], 0.0f, 1e-5f);
    EXPECT_NEAR(quad.v[0].position[1], -2.25f, 1e-5f);
    EXPECT_NEAR(quad.v[3].position[0], 2.0f, 1e-5f);
    EXPECT_NEAR(quad.v[3].position[1], -2.75f, 1e-5f);
    StartCountingAllocations();
    Frames(30);
    EXPECT_EQ(StopCountingAllocations(), 0);
}
