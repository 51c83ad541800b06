// The Lightning node pulled frame by frame without a device: straight bolts
// without detail, shapes that stay near their line, pools that are exactly
// full when every split branches, and frames that allocate nothing.

#include "support/allocationcount.h"
#include "app/random.h"
#include "nodes/simulation/lightningnode.h"
#include "nodes/value/valuegraph.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

class Lightning : public ::testing::Test
{
protected:
    void SetUp() override
    {
        g_random.Seed(5);
        m_node = static_cast<CLightningNode*>(m_graph.Add("Lightning"));
    }
    void Set(const char* port, const std::string& value) { CValueGraph::Set(m_node, port, value); }
    void Frame() { m_graph.Frame(m_node, 1.0f / 30.0f); }

    CValueGraph m_graph;
    CLightningNode* m_node = nullptr;
};

const char* const kTwoBolts = "startpos.x = boltnr - 1.5; startpos.y = 1; startpos.z = 0;"
                              "endpos.x = 1.5 - boltnr; endpos.y = -1; endpos.z = 0.5;"
                              "color.r = color.g = color.b = color.a = 1; boltrandseed = 7;";

} // namespace

TEST_F(Lightning, WithoutDetailEachBoltIsOneStraightSegment)
{
    Set("Expression", kTwoBolts);
    Set("NumBolts", "2");
    Set("Detail", "0");
    Set("Jitter", "0.5");
    Frame();
    ASSERT_EQ(m_node->GetPathCount(), 2);
    for (int b = 0; b < 2; ++b) {
        SCOPED_TRACE(b);
        const auto& path = m_node->GetPath(b);
        ASSERT_EQ(path.nodeCount, 2);
        EXPECT_FLOAT_EQ(path.head->x, float(b + 1) - 1.5f);
        EXPECT_FLOAT_EQ(path.head->y, 1.0f);
        EXPECT_FLOAT_EQ(path.tail->x, 1.5f - float(b + 1));
        EXPECT_FLOAT_EQ(path.tail->z, 0.5f);
        EXPECT_EQ(path.head->next, path.tail);
    }
    EXPECT_EQ(m_node->GetLines().GetPolylineCount(), 2);
}

TEST_F(Lightning, BranchChanceDecidesPathsAndTheWorstCaseFillsThePools)
{
    Set("Expression", kTwoBolts);
    Set("NumBolts", "2");
    Set("Detail", "4");
    Set("Jitter", "0");
    Set("BranchChance", "0");
    Frame();
    EXPECT_EQ(m_node->GetPathCount(), 2);
    EXPECT_EQ(m_node->GetPath(0).nodeCount, 17); // 2^4 segments

    Set("BranchChance", "1");
    Frame();
    // A branch at every split: per bolt (3^4 + 1) / 2 paths and as many
    // nodes again as splits, (3^4 - 1) / 2. The pools hold just that, up to
    // their rounding of half a record per bolt.
    EXPECT_EQ(m_node->GetPathCount(), 2 * 41);
    EXPECT_EQ(m_node->GetNodeCount(), 2 * (2 * 41 + 40));
    EXPECT_LE(m_node->GetPathCapacity() - m_node->GetPathCount(), 1);
    EXPECT_LE(m_node->GetNodeCapacity() - m_node->GetNodeCount(), 1);
    // Every path's links agree with its count, both ways.
    for (int i = 0; i < m_node->GetPathCount(); ++i) {
        const auto& path = m_node->GetPath(i);
        int n = 0;
        const CLightningNode::SBoltNode* last = nullptr;
        for (auto* p = path.head; p; p = p->next, ++n) {
            ASSERT_EQ(p->previous, last);
            last = p;
        }
        ASSERT_EQ(last, path.tail);
        ASSERT_EQ(n, path.nodeCount);
    }

    // The largest settings would want gigabytes: the detail comes down instead.
    Set("NumBolts", "10000");
    Set("Detail", "15");
    Frame();
    EXPECT_LE(m_node->GetNodeCapacity(), 4 * 1024 * 1024);
    EXPECT_GT(m_node->GetPathCount(), 0);
}

TEST_F(Lightning, BoltsStayNearTheirLineAndHoldStillWithoutJitter)
{
    // Displacement halves each pass from a quarter, and each branch reaches
    // at most its scale beyond its fork: the bolt from (0,1) to (0,-1) stays
    // in a box around the line.
    Set("Detail", "8");
    Set("Jitter", "0");
    Set("NumBolts", "3");
    Set("Expression", "startpos.x = 0; startpos.y = 1; startpos.z = 0; endpos.x = 0; endpos.y = -1;"
                      "endpos.z = 0; boltrandseed = 3;");
    Frame();
    std::vector<float> first;
    for (int i = 0; i < m_node->GetPathCount(); ++i)
        for (auto* p = m_node->GetPath(i).head; p; p = p->next) {
            EXPECT_LT(std::fabs(p->x), 2.5f);
            EXPECT_LT(std::fabs(p->y), 3.5f);
            EXPECT_LT(std::fabs(p->z), 1.0f);
            first.push_back(p->x);
        }
    Frame();
    std::vector<float> second;
    for (int i = 0; i < m_node->GetPathCount(); ++i)
        for (auto* p = m_node->GetPath(i).head; p; p = p->next)
            second.push_back(p->x);
    EXPECT_EQ(first, second);
}

TEST_F(Lightning, SettledFramesAllocateNothing)
{
    Set("NumBolts", "20");
    Set("Detail", "6");
    Frame();
    Frame();
    StartCountingAllocations();
    for (int i = 0; i < 30; ++i)
        Frame();
    EXPECT_EQ(StopCountingAllocations(), 0);
    EXPECT_GT(m_node->GetLines().GetQuadCount(), 0);
}

TEST_F(Lightning, AScriptThatDoesNotParseKeepsTheLastBolts)
{
    Set("Detail", "2");
    Frame();
    const int paths = m_node->GetPathCount();
    ASSERT_GT(paths, 0);
    Set("Expression", "startpos.x = ;;(");
    Frame();
    EXPECT_EQ(m_node->GetPathCount(), paths);
}
