// Ribbons without a device: one new head point a pass, at most one a frame,
// the ring's length, and quads exactly as wide as the script says.

#include "nodes/object/ribbonsnode.h"
#include "nodes/value/valuegraph.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

float Distance(const SVertexPNTBTC& a, const SVertexPNTBTC& b)
{
    const float dx = a.position[0] - b.position[0], dy = a.position[1] - b.position[1],
                dz = a.position[2] - b.position[2];
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

} // namespace

TEST(Ribbons, GrowAPointAPassAndKeepTheirWidth)
{
    CValueGraph graph;
    auto* ribbons = static_cast<CRibbonsNode*>(graph.Add("Ribbons"));
    CValueGraph::Set(ribbons, "NumRibbons", "2");
    CValueGraph::Set(ribbons, "NumPoints", "5");
    CValueGraph::Set(ribbons, "EvaluationsPerSec", "10");
    // Circles in a plane facing the default camera, each ribbon its own width.
    CValueGraph::Set(ribbons, "Expression",
                     "pos.x = sin(time*3)*ribbonnr; pos.y = cos(time*3)*ribbonnr; pos.z = 4;"
                     "width = ribbonnr*0.05 + 0.1;");
    const CRenderVolumeLines& lines = ribbons->GetLines();
    // Ten passes in a second, of which the rings keep the last five.
    graph.Frame(ribbons, 0.15f);
    EXPECT_EQ(lines.GetVertexCount(), 0) << "one point is no ribbon yet";
    graph.Frame(ribbons, 0.15f);
    EXPECT_EQ(lines.GetVertexCount(), 4) << "one pass a frame, however late";
    for (int frame = 0; frame < 30; ++frame)
        graph.Frame(ribbons, 1.0f / 30);
    EXPECT_EQ(lines.GetPolylineCount(), 2);
    EXPECT_EQ(lines.GetVertexCount(), 10) << "the rings hold five points each";
    ASSERT_EQ(lines.GetQuadCount(), 8);
    for (int q = 0; q < 8; ++q) {
        SCOPED_TRACE(q);
        const float width = (q < 4 ? 1 : 2) * 0.05f + 0.1f;
        const SQuad& quad = lines.GetQuads()[q];
        EXPECT_NEAR(Distance(quad.v[0], quad.v[1]), width, width * 0.01f);
        EXPECT_NEAR(Distance(quad.v[2], quad.v[3]), width, width * 0.01f);
    }
    // The head is the newest evaluation, on its circle of radius ribbonnr.
    const SQuad& head = lines.GetQuads()[4];
    const float x = 0.5f * (head.v[0].position[0] + head.v[1].position[0]);
    const float y = 0.5f * (head.v[0].position[1] + head.v[1].position[1]);
    EXPECT_NEAR(std::hypot(x, y), 2.0f, 1e-3f);

    // Without a rate no pass ever starts: the ribbons stand still.
    CValueGraph::Set(ribbons, "EvaluationsPerSec", "0");
    const float before = lines.GetQuads()[0].v[0].position[0];
    for (int frame = 0; frame < 10; ++frame)
        graph.Frame(ribbons, 1.0f / 30);
    EXPECT_EQ(lines.GetQuads()[0].v[0].position[0], before);
}
