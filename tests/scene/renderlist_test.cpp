#include "render/fx.h"
#include "render/render.h"
#include "scene/pdeffect.h"
#include "scene/pdobject.h"
#include "scene/renderlist.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

using Journal = std::vector<std::string>;

// A render that notes which camera is set.
class CCameraRender : public CRender
{
public:
    void SetCamera(const CCamera& camera) override
    {
        CRender::SetCamera(camera);
        m_journal->push_back("camera " + std::to_string(int(camera.m_fov)));
    }
    Journal* m_journal = nullptr;
};

class CNamedObject : public CPDObject
{
public:
    CNamedObject(std::string name, Journal& journal) : m_name(std::move(name)), m_journal(journal) {}
    void Draw(CRender*) override { m_journal.push_back("draw " + m_name); }

    std::string m_name;
    Journal& m_journal;
};

// An effect of `passes` passes that notes its calls.
class CJournalEffect : public CPDEffect
{
public:
    CJournalEffect(std::string name, int passes, Journal& journal)
        : m_name(std::move(name)), m_passes(passes), m_journal(journal)
    {
    }
    CFxPass* Begin() override
    {
        m_journal.push_back(m_name + " begin");
        m_pass = 0;
        return m_passes > 0 ? &m_dummy : nullptr;
    }
    void BeginPass(CFxPass*) override { m_journal.push_back(m_name + " pass " + std::to_string(m_pass)); }
    CFxPass* NextPass(CFxPass*) override { return ++m_pass < m_passes ? &m_dummy : nullptr; }
    void EndPass(CFxPass*) override {}
    void End() override { m_journal.push_back(m_name + " end"); }
    void SetColor(const float* rgba) override { m_lastColor = rgba[0]; }
    void SetWorld(int, const float* matrix) override { m_lastWorld12 = matrix[12]; }
    void CommitChanges(CRender*) override {}

    std::string m_name;
    int m_passes;
    Journal& m_journal;
    CFxPass m_dummy;
    int m_pass = 0;
    float m_lastColor = -1;
    float m_lastWorld12 = -1;
};

CMatrix Translation(float x)
{
    CMatrix m = MatrixIdentity();
    m[12] = x;
    return m;
}

} // namespace

TEST(RenderList, BatchesByEffectInTheOrderFirstMetAndDrawsAllItemsOfAPassTogether)
{
    Journal journal;
    CCameraRender render;
    render.m_journal = &journal;
    CCamera near, far;
    near.m_fov = 30;
    far.m_fov = 60;
    CCamera outer;
    outer.m_fov = 90;
    render.SetCamera(outer);

    CJournalEffect twoPass("glow", 2, journal), flat("flat", 1, journal);
    CNamedObject a("a", journal), b("b", journal), c("c", journal), d("d", journal);
    CRenderList list(2); // a tiny first block, so the pool must grow
    CRenderItem* root = list.GetRoot();
    CRenderItem* itemA = list.NewItem(Translation(1), &near, &a, &twoPass, {0.5f, 0, 0, 1});
    CRenderItem* itemB = list.NewItem(Translation(2), &far, &b, &flat, {1, 1, 1, 1});
    CRenderItem* itemC = list.NewItem(Translation(3), &far, &c, &twoPass, {0.25f, 0, 0, 1});
    CRenderItem* itemD = list.NewItem(Translation(4), &near, &d, nullptr, {1, 1, 1, 1});
    root->m_children.PushBack(itemA);
    root->m_children.PushBack(itemB);
    itemA->m_children.PushBack(itemC);
    itemA->m_children.PushBack(itemD);
    EXPECT_EQ(list.GetItemCount(), 5);
    EXPECT_EQ((std::set<CRenderItem*>{root, itemA, itemB, itemC, itemD}.size()), 5u) << "no item handed out twice";

    journal.clear();
    list.Draw(&render);
    // Children before their parent; an item without effect is never drawn.
    EXPECT_EQ(journal, (Journal{"glow begin", "glow pass 0", "camera 60", "draw c", "camera 30", "draw a",
                                "glow pass 1", "camera 60", "draw c", "camera 30", "draw a", "glow end",
                                "flat begin", "flat pass 0", "camera 60", "draw b", "flat end", "camera 90"}));
    ASSERT_EQ(list.GetBatchCount(), 2);
    EXPECT_EQ(list.GetBatchSize(0), 2);
    EXPECT_EQ(list.GetBatchSize(1), 1);
    EXPECT_FLOAT_EQ(twoPass.m_lastColor, 0.5f);
    EXPECT_FLOAT_EQ(twoPass.m_lastWorld12, 1.0f);
    EXPECT_FLOAT_EQ(render.GetCamera()->m_fov, 90.0f) << "the camera found is set back";

    // A rewound list starts with one fresh root and reuses its items.
    list.Reset();
    EXPECT_EQ(list.GetItemCount(), 1);
    EXPECT_TRUE(list.GetRoot()->m_children.Empty());
    EXPECT_EQ(list.GetRoot()->m_effect, nullptr);
    journal.clear();
    list.Draw(&render);
    EXPECT_EQ(list.GetBatchCount(), 0);
    EXPECT_EQ(journal, (Journal{"camera 90"}));
}

TEST(RenderList, ItemListsSpliceInOrderAndThePoolGrowsWithoutMovingItems)
{
    CRenderList list(3);
    std::vector<CRenderItem*> items;
    for (int i = 0; i < 350; ++i) {
        items.push_back(list.NewItem());
        items.back()->m_world[12] = float(i);
    }
    for (int i = 0; i < 350; ++i)
        ASSERT_EQ(items[size_t(i)]->m_world[12], float(i)) << "item " << i << " was overwritten or moved";

    CRenderItemList first, second;
    first.PushBack(items[0]);
    first.PushBack(items[1]);
    second.PushBack(items[2]);
    second.PushBack(items[3]);
    first.Splice(second);
    EXPECT_TRUE(second.Empty());
    std::vector<float> order;
    for (CRenderItem* item : first)
        order.push_back(item->m_world[12]);
    EXPECT_EQ(order, (std::vector<float>{0, 1, 2, 3}));
    first.Splice(second);
    EXPECT_EQ(first.Size(), 4u);
}
