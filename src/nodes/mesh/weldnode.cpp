#include "nodes/mesh/weldnode.h"

#include "ports/types/dataports.h"
#include "ports/types/portfloat.h"
#include "scene/nodedeclaration.h"

template <>
CNodeDeclaration DeclareNode<CWeldNode>()
{
    return {{
        In(&CWeldNode::m_meshIn, "Mesh", "Mesh to weld"),
        In(&CWeldNode::m_epsilon, "Epsilon", "Largest distance apart where two vertices should be welded",
           {0.1f, 0.001f, 0.0f, 10000.0f}),
        Inherited<CWeldNode>(CMeshGeneratorNode::Ports()),
    }};
}

bool CWeldNode::GenerateMesh(CPDMesh* target)
{
    CPDMesh* source = m_meshIn->m_value;
    if (!source || !source->GenerateMesh(target))
        return false;
    target->m_mesh.WeldDistance(Clamped(m_epsilon));
    target->m_mesh.CalcNormalsAndTangents();
    return true;
}
