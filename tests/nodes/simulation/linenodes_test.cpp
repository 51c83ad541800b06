// MatrixTrails, LineBounce and Lines pulled frame by frame without a device:
// their counts and bounds over many frames, the edge cases of their rules,
// and settled frames that allocate nothing.

#include "support/allocationcount.h"
#include "app/random.h"
#include "nodes/simulation/linebouncenode.h"
#include "nodes/simulation/linesnode.h"
#include "nodes/simulation/matrixtrailsnode.h"
#include "nodes/value/valuegraph.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr float Frame30 = 1.0f / 30.0f;

template <class TNode>
class LineNode : public ::testing::Test
{
protected:
    void SetUp() override
    {
        g_random.Seed(11);
        m_node = static_cast<TNode*>(m_graph.Add(TypeName()));
    }
    static const char* TypeName();
    void Set(const char* port, const std::string& value) { CValueGraph::Set(m_node, port, value); }
    void Frames(int n)
    {
        for (int i = 0; i < n; ++i)
            m_graph.Frame(m_node, Frame30);
    }
    long AllocationsOver(int frames)
    {
        StartCountingAllocations();
        Frames(frames);
        return StopCountingAllocations();
    }

    CValueGraph m_graph;
    TNode* m_node = nullptr;
};

template <>
const char* LineNode<CMatrixTrailsNode>::TypeName()
{
    return "MatrixTrails";
}
template <>
const char* LineNode<CLineBounceNode>::TypeName()
{
    return "LineBounce";
}
template <>
const char* LineNode<CLinesNode>::TypeName()
{
    return "Lines";
}

using MatrixTrails = LineNode<CMatrixTrailsNode>;
using LineBounce = LineNode<CLineBounceNode>;
using Lines = LineNode<CLinesNode>;

} // namespace

TEST_F(MatrixTrails, ColumnsFollowTheAspectAndCharactersStayInTheirCells)
{
    struct SRow
    {
        float aspect;
        int columns, rows;
    };
    for (const SRow& row : {SRow{1.0f, 50, 40}, SRow{2.0f, 100, 40}, SRow{0.5f, 50, 80}}) {
        SCOPED_TRACE(row.aspect);
        m_graph.m_context.m_aspect = row.aspect;
        Frames(60);
        ASSERT_EQ(m_node->GetColumnCount(), row.columns);
        ASSERT_EQ(m_node->GetRowCount(), row.rows);
        const CRenderQuads& quads = m_node->GetQuads();
        ASSERT_EQ(quads.GetCount(), row.columns * row.rows);
        // The field is 1 x 1 stretched by the aspect; every quad lies in it.
        const float hw = 0.5f * std::max(1.0f, row.aspect), hh = 0.5f / std::min(1.0f, row.aspect);
        int lit = 0;
        for (int q = 0; q < quads.GetCount(); ++q) {
            for (const SVertexPNTBTC& v : quads.GetQuads()[q].v) {
                ASSERT_LE(std::fabs(v.position[0]), hw + 1e-4f);
                ASSERT_LE(std::fabs(v.position[1]), hh + 1e-4f);
            }
            lit += quads.GetQuads()[q].v[0].color != 0 ? 1 : 0;
        }
        // Trails fade within a second, but each column writes a character
        // every CharDelay: a good share of the cells is lit at any time.
        EXPECT_GT(lit, quads.GetCount() / 10);
        for (int c = 0; c < m_node->GetColumnCount(); ++c)
            for (int r = 0; r < m_node->GetRowCount(); ++r) {
                const auto& cell = m_node->GetCell(c, r);
                ASSERT_GE(cell.character, 0);
                ASSERT_LT(cell.character, 32);
                ASSERT_GE(cell.brightness, 0.0f);
                ASSERT_LE(cell.brightness, 1.0f);
            }
    }
}

TEST_F(MatrixTrails, OneCharacterDoesNotLoopAndNeighboursDiffer)
{
    Set("NumChars", "1");
    Frames(30); // would hang if the redraw looked for a different character
    for (int c = 0; c < m_node->GetColumnCount(); ++c)
        EXPECT_EQ(m_node->GetCell(c, m_node->GetColumn(c).cursor).character, 0);

    Set("NumChars", "2");
    Set("NumRows", "5"); // rebuilds, so the first column starts afresh
    Frames(20);
    // With two characters each new one differs from the one above it, so a
    // full column alternates below the top row.
    const auto& column = m_node->GetColumn(0);
    for (int r = 2; r <= column.cursor; ++r)
        EXPECT_NE(m_node->GetCell(0, r).character, m_node->GetCell(0, r - 1).character) << r;
}

TEST_F(MatrixTrails, SettledFramesAllocateNothing)
{
    Frames(3);
    EXPECT_EQ(AllocationsOver(60), 0);
}

TEST_F(LineBounce, PointsStayInTheBoxAndLoopsClose)
{
    Set("NumObjects", "3");
    Set("NumPointsPerObj", "5");
    Set("Depth", "1");
    Set("PointSpeed", "2");
    const float slack = 2.0f * Frame30 + 1e-4f;
    for (int second = 0; second < 120; ++second) {
        Frames(30);
        for (int o = 0; o < 3; ++o)
            for (int k = 0; k < 5; ++k)
                for (float x : m_node->Point(o, k).position)
                    ASSERT_LE(std::fabs(x), 1.0f + slack) << second;
    }
    EXPECT_EQ(m_node->GetLines().GetCount(), 3 * 5);

    Set("NumPointsPerObj", "2");
    Frames(1);
    EXPECT_EQ(m_node->GetLines().GetCount(), 3); // one line each, not a pair
}

TEST_F(LineBounce, APointOnTheWallBouncesOnlyOnceItIsPast)
{
    Frames(1);
    CLineBounceNode::SPoint& p = m_node->Point(0, 0);
    p.position[0] = 1.0f;
    p.velocity[0] = 0.6f;
    p.velocity[1] = p.velocity[2] = 0.0f;
    Frames(1);
    EXPECT_GT(p.position[0], 1.0f);
    EXPECT_GT(p.velocity[0], 0.0f);
    Frames(1);
    // The bounce renormalises to PointSpeed.
    EXPECT_FLOAT_EQ(p.velocity[0], -1.0f);
}

TEST_F(LineBounce, SettledFramesAllocateNothing)
{
    Set("NumObjects", "20");
    Frames(2);
    EXPECT_EQ(AllocationsOver(60), 0);
}

TEST_F(Lines, LinesAreBornAtTheirRateAndLiveOnTheEllipse)
{
    Set("LinesPerSec", "0.9");
    Frames(90);
    EXPECT_EQ(m_node->GetAliveCount(), 0); // the rate truncates to 0

    Set("LinesPerSec", "10");
    Set("LineLifeTime", "1.5");
    Set("Width", "2");
    Set("Height", "1");
    Set("RotationSpeed", "90");
    Set("NumSectionsWidth", "2");
    Set("NumSectionsHeight", "3");
    for (int second = 0; second < 20; ++second) {
        Frames(30);
        SCOPED_TRACE(second);
        // Ten a second living a second and a half, once the first have died.
        if (second >= 2) {
            EXPECT_NEAR(m_node->GetAliveCount(), 15, 1);
        }
        EXPECT_LE(m_node->GetPoolSize(), 40);
        int alive = 0;
        for (int i = 0; i < m_node->GetPoolSize(); ++i) {
            const auto& line = m_node->GetLine(i);
            if (!line.alive)
                continue;
            ++alive;
            for (const SVec3& end : {line.a, line.b}) {
                ASSERT_NEAR(end.x * end.x / 1.0f + end.y * end.y / 0.25f, 1.0f, 1e-3f);
                ASSERT_EQ(end.z, 0.0f);
            }
        }
        EXPECT_EQ(alive, m_node->GetAliveCount());
        EXPECT_GE(m_node->GetQuads().GetCount(), 6 * alive);
    }
}

TEST_F(Lines, SettledFramesAllocateNothing)
{
    Set("LinesPerSec", "100");
    Frames(60);
    ASSERT_GT(m_node->GetAliveCount(), 90);
    EXPECT_EQ(AllocationsOver(90), 0);
}

TEST_F(Lines, SectionsBeyondTheLimitAreDrawnWithFewer)
{
    // Ten thousand by ten thousand quads a line would want terabytes.
    Set("NumSectionsWidth", "10000");
    Set("NumSectionsHeight", "10000");
    Set("LinesPerSec", "10");
    Frames(30);
    EXPECT_GT(m_node->GetAliveCount(), 0);
    EXPECT_LE(m_node->GetQuads().GetCount(), CLinesNode::MaxQuads);
    EXPECT_GE(m_node->GetQuads().GetCount(), CLinesNode::MaxSections * CLinesNode::MaxSections);
}
