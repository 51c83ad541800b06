// Transform, Clone, CloneExpression and DelayedTransform place copies of a
// MeshObject through the render list: the copies are read back as render
// items, each with its world (the copy's times the parent's) and colour.

#include "nodes/object/cloneexpressionnode.h"
#include "nodes/object/delayedtransformnode.h"
#include "nodes/support/placement.h"
#include "nodes/value/valuegraph.h"
#include "scene/renderlist.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

struct SPlaced
{
    float x, y, z;
    SColor4 color;
    CMatrix world;
};

class Placing : public ::testing::Test
{
protected:
    // `type` with a MeshObject drawing a cube at its Object input.
    CNode* Add(const char* type, const char* objectPort = "Object")
    {
        CNode* node = m_graph.Add(type);
        CNode* cube = m_graph.Add("Cube");
        CNode* shader = m_graph.Add("Shader");
        m_mesh = m_graph.Add("MeshObject");
        EXPECT_TRUE(m_mesh->Connect("Mesh", cube, "Mesh"));
        EXPECT_TRUE(m_mesh->Connect("Effect", shader, "Effect"));
        EXPECT_TRUE(node->Connect(objectPort, m_mesh, "Object"));
        return node;
    }
    void Frame(CNode* node, float delta = 1.0f / 30)
    {
        m_graph.Frame(node, delta);
        m_graph.Frame(m_mesh, 0.0f);
    }
    // The mesh items below a parent that stands at `parentPosition` in
    // `parentColor`.
    std::vector<SPlaced> Placed(CNode* node, SVec3 parentPosition = {}, SColor4 parentColor = {1, 1, 1, 1})
    {
        m_list.Reset();
        CRenderItem* root = m_list.GetRoot();
        root->m_world[12] = parentPosition.x;
        root->m_world[13] = parentPosition.y;
        root->m_world[14] = parentPosition.z;
        root->m_color = parentColor;
        node->BuildRenderList(&m_list, &m_list.GetRootList(), nullptr);
        std::vector<SPlaced> placed;
        Collect(root, placed);
        return placed;
    }

    CValueGraph m_graph;
    CNode* m_mesh = nullptr;
    CRenderList m_list;

private:
    static void Collect(CRenderItem* item, std::vector<SPlaced>& placed)
    {
        for (CRenderItem* child : item->m_children) {
            if (child->m_mesh)
                placed.push_back(
                    {child->m_world[12], child->m_world[13], child->m_world[14], child->m_color, child->m_world});
            Collect(child, placed);
        }
    }
};

void ExpectAt(const SPlaced& p, float x, float y, float z)
{
    EXPECT_NEAR(p.x, x, 1e-5f);
    EXPECT_NEAR(p.y, y, 1e-5f);
    EXPECT_NEAR(p.z, z, 1e-5f);
}

} // namespace

TEST_F(Placing, CloneLinesCopiesUpStepByStepAroundItsPosition)
{
    CNode* clone = Add("Clone");
    CValueGraph::Set(clone, "NumClones", "3");
    CValueGraph::Set(clone, "Pos", "0 2 0");
    CValueGraph::Set(clone, "PosChange", "1 0 0");
    CValueGraph::Set(clone, "Color", "0.5 1 1 1");
    Frame(clone);
    // Centred, below a parent at (0, 0, 5) in half alpha.
    std::vector<SPlaced> placed = Placed(clone, {0, 0, 5}, {1, 1, 1, 0.5f});
    ASSERT_EQ(placed.size(), 3u);
    for (int i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        ExpectAt(placed[size_t(i)], float(i) - 1.0f, 2.0f, 5.0f);
        EXPECT_EQ(placed[size_t(i)].color, (SColor4{0.5f, 1, 1, 0.5f}));
    }
    CValueGraph::Set(clone, "Center", "false");
    CValueGraph::Set(clone, "ScaleChange", "0.5 0 0");
    CValueGraph::Set(clone, "RotChange", "0 0 90");
    Frame(clone);
    placed = Placed(clone);
    // Clone 2 turned half round, twice as wide: its x axis points to -x.
    ASSERT_EQ(placed.size(), 3u);
    ExpectAt(placed[2], 2.0f, 2.0f, 0.0f);
    EXPECT_NEAR(placed[2].world[0], -2.0f, 1e-5f);
    EXPECT_NEAR(placed[1].world[1], 1.5f, 1e-5f) << "a quarter turn, 1.5 wide";

    CValueGraph::Set(clone, "NumClones", "1");
    CValueGraph::Set(clone, "Center", "true");
    Frame(clone);
    placed = Placed(clone);
    ASSERT_EQ(placed.size(), 1u);
    ExpectAt(placed[0], 0.0f, 2.0f, 0.0f);
}

TEST_F(Placing, TransformPlacesEachConnectedObjectOnce)
{
    CNode* transform = Add("Transform", "Object2");
    ASSERT_TRUE(transform->Connect("Object5", m_mesh, "Object"));
    CValueGraph::Set(transform, "Pos", "1 2 3");
    CValueGraph::Set(transform, "Rot", "0 0 90");
    CValueGraph::Set(transform, "Scale", "2 2 2");
    Frame(transform);
    const std::vector<SPlaced> placed = Placed(transform, {10, 0, 0});
    ASSERT_EQ(placed.size(), 2u);
    const float rot[3] = {0, 0, 90}, pos[3] = {1, 2, 3}, scale[3] = {2, 2, 2};
    CMatrix expected = PlacementMatrix(pos, rot, scale);
    expected[12] += 10;
    for (const SPlaced& p : placed)
        for (size_t i = 0; i < 16; ++i)
            EXPECT_NEAR(p.world[i], expected[i], 1e-5f) << i;
}

TEST_F(Placing, CloneExpressionPlacesAGridWhereItsScriptSays)
{
    auto* clones = static_cast<CCloneExpressionNode*>(Add("CloneExpression"));
    CValueGraph::Set(clones, "NumObjectsY", "2");
    CValueGraph::Set(clones, "NumObjectsZ", "1");
    CValueGraph::Set(clones, "AdjustForAspect", "false");
    CValueGraph::Set(clones, "Center", "false");
    CValueGraph::Set(clones, "In1", "0.25");
    CValueGraph::Set(clones, "Expression", "pos.x = x*2; pos.y = y + in1; pos.z = numobjectsx; col.g = x/4;");
    Frame(clones);
    std::vector<SPlaced> placed = Placed(clones);
    ASSERT_EQ(placed.size(), 6u);
    // x runs fastest, then y.
    for (int i = 0; i < 6; ++i) {
        SCOPED_TRACE(i);
        const int x = i % 3 + 1, y = i / 3 + 1;
        ExpectAt(placed[size_t(i)], float(2 * x), float(y) + 0.25f, 3.0f);
        EXPECT_FLOAT_EQ(placed[size_t(i)].color[1], float(x) / 4.0f);
    }
    // Centred: the middle of the positions' box at the origin.
    CValueGraph::Set(clones, "Center", "true");
    Frame(clones);
    placed = Placed(clones);
    ExpectAt(placed[0], -2.0f, -0.5f, 0.0f);
    ExpectAt(placed[5], 2.0f, 0.5f, 0.0f);

    // On a wide screen 3 across become 5.
    CValueGraph::Set(clones, "AdjustForAspect", "true");
    m_graph.m_context.m_aspect = 16.0f / 9.0f;
    Frame(clones);
    EXPECT_EQ(Placed(clones).size(), 10u);

    // Without an object each clone is a unit square of the batcher.
    clones->DisconnectFrom(m_mesh);
    CValueGraph::Set(clones, "Expression", "pos.x = x; scale.y = 2;");
    Frame(clones);
    ASSERT_EQ(clones->GetSquares().GetCount(), 10);

    // A script that does not parse draws nothing and says so once.
    CLogCapture log;
    CValueGraph::Set(clones, "Expression", "pos.x = (x;");
    for (int i = 0; i < 3; ++i)
        Frame(clones);
    EXPECT_EQ(clones->GetCount(), 0);
    EXPECT_TRUE(Placed(clones).empty());
    EXPECT_EQ(log.Messages().size(), 1u);
}

TEST_F(Placing, DelayedTransformPassesAChangeDownTheChainOneCopyPerDelay)
{
    auto* chain = static_cast<CDelayedTransformNode*>(Add("DelayedTransform"));
    CValueGraph::Set(chain, "NumObjects", "4");
    CValueGraph::Set(chain, "Delay", "0.5");
    CValueGraph::Set(chain, "ScaleDelta", "0 0 0");
    CValueGraph::Set(chain, "PosDelta", "0 0 1");
    for (int i = 0; i < 3; ++i)
        Frame(chain, 0.25f);
    std::vector<SPlaced> placed = Placed(chain);
    ASSERT_EQ(placed.size(), 4u);
    for (int i = 0; i < 4; ++i)
        ExpectAt(placed[size_t(i)], 0.0f, 0.0f, float(i));

    // A move of the delayed position reaches copy k two frames of 0.25 s
    // (one Delay) after copy k - 1, gliding there without overshoot.
    CValueGraph::Set(chain, "DelayedPosDelta", "1 0 0");
    CValueGraph::Set(chain, "DelayedRotDelta", "0 0 90");
    int arrived[4] = {-1, -1, -1, -1};
    float last[4] = {0, 0, 0, 0};
    for (int frame = 0; frame < 12; ++frame) {
        Frame(chain, 0.25f);
        placed = Placed(chain);
        for (size_t k = 0; k < 4; ++k) {
            EXPECT_GE(placed[k].x, last[k] - 1e-6f) << k;
            EXPECT_LE(placed[k].x, 1.0f + 1e-6f) << k;
            last[k] = placed[k].x;
            if (arrived[k] < 0 && placed[k].x > 1.0f - 1e-5f)
                arrived[k] = frame;
        }
    }
    EXPECT_EQ(arrived[0], 0) << "the head follows at once";
    for (int k = 1; k < 4; ++k)
        EXPECT_EQ(arrived[k] - arrived[k - 1], 2) << k;
    // The delayed rotation arrived with the position: a quarter turn about z.
    const float rot[3] = {0, 0, 90}, pos[3] = {1, 0, 3}, scale[3] = {1, 1, 1};
    const CMatrix expected = PlacementMatrix(pos, rot, scale);
    for (size_t i = 0; i < 16; ++i)
        EXPECT_NEAR(placed[3].world[i], expected[i], 1e-5f) << i;
}
