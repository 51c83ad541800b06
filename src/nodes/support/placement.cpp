#include "nodes/support/placement.h"

#include "scene/node.h"
#include "scene/renderlist.h"

CMatrix PlacementMatrix(const float* position, const float* rotation, const float* scale)
{
    CMatrix m =
        MatrixRotation(rotation[0] * DegreesToRadians, rotation[1] * DegreesToRadians, rotation[2] * DegreesToRadians);
    for (size_t row = 0; row < 3; ++row)
        for (size_t column = 0; column < 3; ++column)
            m[row * 4 + column] *= scale[row];
    m[12] = position[0];
    m[13] = position[1];
    m[14] = position[2];
    return m;
}

void PlaceCopies(CRenderList* list, CRenderItemList* parents, CCamera* view, CNode* object,
                 std::span<const CMatrix> worlds, std::span<const SColor4> colors)
{
    if (!list || !parents || !object || colors.empty())
        return;
    for (CRenderItem* parent : *parents) {
        CRenderItemList copies;
        for (size_t i = 0; i < worlds.size(); ++i) {
            const SColor4& color = colors[colors.size() == 1 ? 0 : i];
            CRenderItem* item = list->NewItem();
            item->m_view = view;
            item->m_world = MatrixMultiply(worlds[i], parent->m_world);
            for (size_t c = 0; c < 4; ++c)
                item->m_color[c] = color[c] * parent->m_color[c];
            copies.PushBack(item);
        }
        object->BuildRenderList(list, &copies, view);
        parent->m_children.Splice(copies);
    }
}
