// Fluid2d: an empty fluid draws nothing; a full one keeps every particle
// inside the grid for a thousand steps and falls under gravity; steps come
// at 30 a second whatever the frame rate.

#include "app/random.h"
#include "nodes/simulation/fluid2dnode.h"
#include "nodes/value/valuegraph.h"

#include <gtest/gtest.h>

namespace {

class Fluid2d : public ::testing::Test
{
protected:
    void SetUp() override
    {
        g_random.Seed(4);
        m_node = static_cast<CFluid2dNode*>(m_graph.Add("Fluid2d"));
        Set("GridCellsX", "40");
        Set("GridCellsY", "30");
        Set("NumParticles", "600");
    }
    void Set(const char* port, const std::string& value) { CValueGraph::Set(m_node, port, value); }
    void Step() { m_graph.Frame(m_node, CFluid2dNode::StepLength); }
    float MeanY() const
    {
        float sum = 0.0f;
        for (const auto& p : m_node->GetParticles())
            sum += p.y;
        return sum / float(m_node->GetParticles().size());
    }

    CValueGraph m_graph;
    CFluid2dNode* m_node = nullptr;
};

} // namespace

TEST_F(Fluid2d, WithoutParticlesItStepsAndDrawsNothing)
{
    Set("NumParticles", "0");
    for (int i = 0; i < 3; ++i)
        Step();
    EXPECT_EQ(m_node->GetStepCount(), 3);
    EXPECT_TRUE(m_node->GetParticles().empty());
    EXPECT_EQ(m_node->GetActiveCount(), 0);
}

TEST_F(Fluid2d, KeepsEveryParticleInTheGridAndFalls)
{
    Step();
    ASSERT_EQ(m_node->GetParticles().size(), 600u);
    const float start = MeanY();
    for (int i = 0; i < 30; ++i)
        Step();
    EXPECT_LT(MeanY(), start - 1.0f);

    for (int i = 0; i < 1000; ++i)
        Step();
    ASSERT_EQ(m_node->GetParticles().size(), 600u);
    for (const auto& p : m_node->GetParticles()) {
        ASSERT_GE(p.x, 1.0f);
        ASSERT_LE(p.x, 40.0f - 2.0f);
        ASSERT_GE(p.y, 1.0f);
        ASSERT_LE(p.y, 30.0f - 2.0f);
    }
    // Settled at the bottom, held up by pressure rather than piled in the
    // lowest row.
    EXPECT_LT(MeanY(), start);
    EXPECT_GT(MeanY(), 2.0f);
    // The grid nodes touched are about the fluid's, not the grid's.
    EXPECT_LT(m_node->GetActiveCount(), 40 * 30);

    // Fewer particles wanted changes nothing.
    Set("NumParticles", "10");
    Step();
    EXPECT_EQ(m_node->GetParticles().size(), 600u);
}

TEST_F(Fluid2d, StepsThirtyTimesASecondAndDropsABacklog)
{
    for (int i = 0; i < 8; ++i)
        m_graph.Frame(m_node, 1.0f / 120.0f);
    EXPECT_EQ(m_node->GetStepCount(), 2);
    m_graph.Frame(m_node, 2.0f); // a stall: one step, the rest dropped
    m_graph.Frame(m_node, 0.01f);
    EXPECT_EQ(m_node->GetStepCount(), 3);
}
