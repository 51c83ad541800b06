#include "nodes/mesh/facettenode.h"

#include "ports/types/dataports.h"
#include "ports/types/portfloat.h"
#include "scene/nodedeclaration.h"

template <>
CNodeDeclaration DeclareNode<CFacetteNode>()
{
    return {{
        In(&CFacetteNode::m_meshIn, "Mesh", "Mesh to shade"),
        In(&CFacetteNode::m_smoothness, "Smootness", "0.0 gives flat faces, 1.0 smooth normals",
           {1.0f, 0.01f, 0.0f, 1.0f}),
        Inherited<CFacetteNode>(CMeshGeneratorNode::Ports()),
    }};
}

bool CFacetteNode::GenerateMesh(CPDMesh* target)
{
    CPDMesh* source = m_meshIn->m_value;
    if (!source || !source->GenerateMesh(target))
        return false;
    target->m_mesh.Facette(Clamped(m_smoothness));
    return true;
}
