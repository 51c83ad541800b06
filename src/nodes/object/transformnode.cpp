#include "nodes/object/transformnode.h"

#include "nodes/support/placement.h"
#include "ports/types/dataports.h"
#include "ports/types/portcolor.h"
#include "ports/types/portvector.h"
#include "scene/nodedeclaration.h"

template <>
CNodeDeclaration DeclareNode<CTransformNode>()
{
    using C = CTransformNode;
    return {
        In(&C::m_pos, "Pos", "Position of object", {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&C::m_rot, "Rot", "Rotation of object", {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&C::m_scale, "Scale", "Scale of object", {{1, 1, 1}, 0.1f, 10000.0f}),
        In(&C::m_color, "Color", "Color of object", {{1, 1, 1, 1}}),
        InEach(&C::m_objects, "Object", "12345", "Object #"),
        Out(&C::m_objectOut, "Object", "Object"),
    };
}

void CTransformNode::Update(float time, CSceneContext*)
{
    m_objectOut->m_value = this;
    UpdateInPorts(time);
    m_world = PlacementMatrix(m_pos->m_value.data(), m_rot->m_value.data(), m_scale->m_value.data());
}

void CTransformNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    const SColor4 color = m_color->m_value;
    for (CPortObject* port : m_objects)
        if (CNode* object = port->GetConnectedNode())
            PlaceCopies(list, parents, camera, object, {&m_world, 1}, {&color, 1});
}
