#include "nodes/object/meshinstancernode.h"

#include "ports/types/dataports.h"
#include "ports/types/portint.h"
#include "render/render.h"
#include "scene/nodedeclaration.h"
#include "scene/pdmesh.h"
#include "scene/renderlist.h"

#include <algorithm>

template <>
CNodeDeclaration DeclareNode<CMeshInstancerNode>()
{
    return {{
        In(&CMeshInstancerNode::m_effect, "Effect", "Effect to draw with"),
        In(&CMeshInstancerNode::m_mesh, "Mesh", "Mesh to draw"),
        In(&CMeshInstancerNode::m_numInstances, "NumInstances", "Number of instances", {1000, 1, 1000000000}),
        Out(&CMeshInstancerNode::m_object, "Object", "The instanced mesh object"),
    }};
}

void CMeshInstancerNode::Update(float time, CSceneContext*)
{
    m_object->m_value = this;
    UpdateInPorts(time);
    CPDMesh* mesh = m_mesh->m_value;
    if (!mesh)
        return;
    // A device that lost its buffers gets them back through a regeneration.
    const auto& objects = mesh->dObjs[0];
    if (m_mesh->m_changed || !objects.m_vertexBuffer)
        mesh->m_meshDirty = true;
}

void CMeshInstancerNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    if (!m_effect->m_value || !list || !parents)
        return;
    for (CRenderItem* parent : *parents)
        parent->m_children.PushBack(list->NewItem(parent->m_world, camera, this, m_effect->m_value, parent->m_color));
}

void CMeshInstancerNode::Draw(CRender* render)
{
    if (CPDMesh* mesh = m_mesh->m_value)
        mesh->Draw(render, std::max(1, m_numInstances->m_value));
}
