#include "nodes/object/meshobjectnode.h"

#include "ports/types/dataports.h"
#include "scene/nodedeclaration.h"
#include "scene/pdmesh.h"
#include "scene/renderlist.h"

template <>
CNodeDeclaration DeclareNode<CMeshObjectNode>()
{
    return {{
        In(&CMeshObjectNode::m_effect, "Effect", "Effect to draw with"),
        In(&CMeshObjectNode::m_mesh, "Mesh", "Mesh to draw"),
        Out(&CMeshObjectNode::m_object, "Object", "The mesh object"),
    }};
}

void CMeshObjectNode::Update(float time, CSceneContext*)
{
    m_object->m_value = this;
    UpdateInPorts(time);
    if (m_mesh->m_value && m_mesh->m_changed)
        m_mesh->m_value->m_meshDirty = true;
}

void CMeshObjectNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    if (!m_mesh->m_value || !m_effect->m_value || !list || !parents)
        return;
    for (CRenderItem* parent : *parents) {
        CRenderItem* item = list->NewItem(parent->m_world, camera, nullptr, m_effect->m_value, parent->m_color);
        item->m_mesh = m_mesh->m_value;
        parent->m_children.PushBack(item);
    }
}
