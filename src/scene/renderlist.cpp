#include "scene/renderlist.h"

#include "render/render.h"
#include "scene/node.h"
#include "scene/pdeffect.h"
#include "scene/pdmesh.h"
#include "scene/pdobject.h"
#include "scene/pdrender.h"

// ---- CRenderItemList ----

CRenderItem* CRenderItemList::Front() const
{
    return Empty() ? nullptr : static_cast<CRenderItem*>(m_sentinel.m_next);
}

void CRenderItemList::PushBack(CRenderItem* item)
{
    item->m_previous = m_sentinel.m_previous;
    item->m_next = &m_sentinel;
    m_sentinel.m_previous->m_next = item;
    m_sentinel.m_previous = item;
}

void CRenderItemList::Splice(CRenderItemList& other)
{
    if (other.Empty() || &other == this)
        return;
    SRenderLink* first = other.m_sentinel.m_next;
    SRenderLink* last = other.m_sentinel.m_previous;
    first->m_previous = m_sentinel.m_previous;
    m_sentinel.m_previous->m_next = first;
    last->m_next = &m_sentinel;
    m_sentinel.m_previous = last;
    other.Clear();
}

size_t CRenderItemList::Size() const
{
    size_t count = 0;
    for (const SRenderLink* link = m_sentinel.m_next; link != &m_sentinel; link = link->m_next)
        ++count;
    return count;
}

// ---- CRenderItem ----

void CRenderItem::Reset()
{
    m_next = m_previous = this;
    m_world = MatrixIdentity();
    m_children.Clear();
    m_render = nullptr;
    m_object = nullptr;
    m_mesh = nullptr;
    m_effect = nullptr;
    m_color = {0, 0, 0, 0};
    m_view = nullptr;
}

// ---- CRenderList ----

CRenderList::CRenderList(int firstBlockSize)
{
    const int size = firstBlockSize > 0 ? firstBlockSize : 1;
    m_blocks.push_back(std::make_unique<CRenderItem[]>(size_t(size)));
    m_blockSizes.push_back(size);
    Reset();
}

void CRenderList::Reset()
{
    m_block = 0;
    m_used = 0;
    m_itemCount = 0;
    m_rootList.Clear();
    m_rootList.PushBack(NewItem());
}

CRenderItem* CRenderList::NewItem()
{
    if (m_used == m_blockSizes[m_block]) {
        ++m_block;
        m_used = 0;
        if (m_block == m_blocks.size()) {
            // Each block doubles the last, so a big scene settles after a
            // few frames and allocates nothing from then on.
            const int size = m_blockSizes.back() * 2;
            m_blocks.push_back(std::make_unique<CRenderItem[]>(size_t(size)));
            m_blockSizes.push_back(size);
        }
    }
    CRenderItem* item = &m_blocks[m_block][size_t(m_used++)];
    ++m_itemCount;
    item->Reset();
    return item;
}

CRenderItem* CRenderList::NewItem(const CMatrix& world, CCamera* view, CPDObject* object, CPDEffect* effect,
                                  const std::array<float, 4>& color)
{
    CRenderItem* item = NewItem();
    item->m_world = world;
    item->m_view = view;
    item->m_object = object;
    item->m_effect = effect;
    item->m_color = color;
    return item;
}

void CRenderList::AddChainStep(CPDRender* step, CNode* upstream, CRenderItemList* parents, CCamera* view)
{
    if (!parents)
        return;
    for (CRenderItem* parent : *parents) {
        CRenderItem* item = NewItem();
        item->m_render = step;
        item->m_view = view;
        CRenderItemList chain;
        chain.PushBack(item);
        if (upstream)
            upstream->BuildRenderList(this, &chain, view);
        parent->m_children.Splice(chain);
    }
}

void CRenderList::Collect(CRenderItem* item)
{
    for (CRenderItem* child : item->m_children)
        Collect(child);
    if (!item->m_effect)
        return;
    SBatch* batch = nullptr;
    for (int i = 0; i < m_batchCount; ++i) {
        if (m_batches[size_t(i)].m_effect == item->m_effect) {
            batch = &m_batches[size_t(i)];
            break;
        }
    }
    if (!batch) {
        if (m_batchCount == int(m_batches.size()))
            m_batches.emplace_back();
        batch = &m_batches[size_t(m_batchCount++)];
        batch->m_effect = item->m_effect;
        batch->m_count = 0;
    }
    if (batch->m_count == int(batch->m_items.size()))
        batch->m_items.push_back(item);
    else
        batch->m_items[size_t(batch->m_count)] = item;
    ++batch->m_count;
}

void CRenderList::DrawBatch(CRender* render, SBatch& batch, CCamera*& lastView)
{
    CPDEffect* effect = batch.m_effect;
    effect->m_render = render;
    for (CFxPass* pass = effect->Begin(); pass; pass = effect->NextPass(pass)) {
        effect->BeginPass(pass);
        for (int i = 0; i < batch.m_count; ++i) {
            CRenderItem* item = batch.m_items[size_t(i)];
            if (item->m_view != lastView) {
                if (item->m_view)
                    render->SetCamera(*item->m_view);
                lastView = item->m_view;
            }
            effect->SetColor(item->m_color.data());
            effect->SetWorld(0, item->m_world.data());
            render->SetTransform(TS_World, item->m_world.data());
            effect->CommitChanges(render);
            if (item->m_mesh)
                item->m_mesh->Draw(render, 0);
            if (item->m_object)
                item->m_object->Draw(render);
        }
        effect->EndPass(pass);
    }
    effect->End();
}

void CRenderList::Draw(CRender* render)
{
    m_batchCount = 0;
    CRenderItem* root = GetRoot();
    if (!render || !root)
        return;
    const CCamera saved = *render->GetCamera();
    CRenderItem* first = root->m_children.Front();
    if (first && first->m_render) {
        first->m_render->Render(render);
        render->SetCamera(saved);
        return;
    }
    Collect(root);
    CCamera* lastView = nullptr;
    for (int i = 0; i < m_batchCount; ++i)
        DrawBatch(render, m_batches[size_t(i)], lastView);
    render->SetCamera(saved);
}
