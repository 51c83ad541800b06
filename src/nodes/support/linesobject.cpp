#include "nodes/support/linesobject.h"

#include "ports/types/dataports.h"

bool CLinesObjectNode::RestoreDevice(CRender* render)
{
    return m_lines.RestoreDevice(render);
}

void CLinesObjectNode::InvalidateDevice(CRender* render)
{
    if (render)
        m_lines.InvalidateDevice(render);
}

void CLinesObjectNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    if (list && parents && m_lines.GetCount() > 0)
        m_lines.AddToRenderList(list, parents, camera, LineEffect()->m_value);
}
