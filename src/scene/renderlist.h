#pragma once

#include "render/matrix.h"

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

class CCamera;
class CNode;
class CPDEffect;
class CPDMesh;
class CPDObject;
class CPDRender;
class CRender;
class CRenderItem;

// The links of a doubly linked list with a sentinel. Items and list heads
// never move once linked, which is why neither can be copied.
struct SRenderLink
{
    SRenderLink* m_next = this;
    SRenderLink* m_previous = this;

    SRenderLink() = default;
    SRenderLink(const SRenderLink&) = delete;
    SRenderLink& operator=(const SRenderLink&) = delete;
};

// A list of render items that owns none of them: the pool of a CRenderList
// does. It is a head with its own sentinel.
class CRenderItemList
{
public:
    class iterator
    {
    public:
        explicit iterator(SRenderLink* link) : m_link(link) {}
        CRenderItem* operator*() const;
        iterator& operator++()
        {
            m_link = m_link->m_next;
            return *this;
        }
        bool operator==(const iterator&) const = default;

    private:
        SRenderLink* m_link;
    };

    CRenderItemList() = default;
    CRenderItemList(const CRenderItemList&) = delete;
    CRenderItemList& operator=(const CRenderItemList&) = delete;

    bool Empty() const { return m_sentinel.m_next == &m_sentinel; }
    CRenderItem* Front() const;
    // Forgets all items without touching them.
    void Clear() { m_sentinel.m_next = m_sentinel.m_previous = &m_sentinel; }
    void PushBack(CRenderItem* item);
    // Moves every item of `other` to the end of this list, in order.
    void Splice(CRenderItemList& other);
    size_t Size() const;

    iterator begin() { return iterator(m_sentinel.m_next); }
    iterator end() { return iterator(&m_sentinel); }

private:
    SRenderLink m_sentinel;
};

// One entry of the per-frame render tree: what to draw, where, with which
// effect, colour and camera, and what stands below it.
class CRenderItem : public SRenderLink
{
public:
    CRenderItem() = default;

    // Empty links, null pointers, world identity.
    void Reset();

    CMatrix m_world = MatrixIdentity();
    CRenderItemList m_children;
    CPDRender* m_render = nullptr;
    CPDObject* m_object = nullptr;
    CPDMesh* m_mesh = nullptr;
    CPDEffect* m_effect = nullptr;
    std::array<float, 4> m_color{0, 0, 0, 0};
    CCamera* m_view = nullptr;
};

inline CRenderItem* CRenderItemList::iterator::operator*() const
{
    return static_cast<CRenderItem*>(m_link);
}

// The render tree of one frame, built during a scene's update and drawn in
// its draw. Items come from a pool that is rewound, not freed, each frame,
// and drawables are batched by effect so that pass states change once per
// pass and effect.
class CRenderList
{
public:
    explicit CRenderList(int firstBlockSize = 100);
    CRenderList(const CRenderList&) = delete;
    CRenderList& operator=(const CRenderList&) = delete;

    // Rewinds the pool and leaves one fresh root item in the root list.
    void Reset();
    CRenderItem* NewItem();
    CRenderItem* NewItem(const CMatrix& world, CCamera* view, CPDObject* object, CPDEffect* effect,
                         const std::array<float, 4>& color);
    void Draw(CRender* render);

    // The part every chain step plays in building: for each parent a new
    // item for `step`, the upstream chain built below it through a
    // temporary list, then all of it appended to the parent's children.
    void AddChainStep(CPDRender* step, CNode* upstream, CRenderItemList* parents, CCamera* view);

    CRenderItemList& GetRootList() { return m_rootList; }
    CRenderItem* GetRoot() { return m_rootList.Front(); }
    // Items handed out since the last Reset.
    int GetItemCount() const { return m_itemCount; }
    // Batches of the last Draw that walked a tree, with their item counts.
    int GetBatchCount() const { return m_batchCount; }
    int GetBatchSize(int batch) const { return m_batches[batch].m_count; }

private:
    struct SBatch
    {
        CPDEffect* m_effect = nullptr;
        int m_count = 0;
        std::vector<CRenderItem*> m_items;
    };

    void Collect(CRenderItem* item);
    void DrawBatch(CRender* render, SBatch& batch, CCamera*& lastView);

    std::vector<std::unique_ptr<CRenderItem[]>> m_blocks;
    std::vector<int> m_blockSizes;
    size_t m_block = 0;
    int m_used = 0;
    int m_itemCount = 0;
    std::vector<SBatch> m_batches;
    int m_batchCount = 0;
    CRenderItemList m_rootList;
};
