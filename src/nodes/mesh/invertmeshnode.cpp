#include "nodes/mesh/invertmeshnode.h"

#include "nodes/support/meshselection.h"
#include "ports/types/dataports.h"
#include "ports/types/portint.h"

template <>
CNodeDeclaration DeclareNode<CInvertMeshNode>()
{
    return {{
        In(&CInvertMeshNode::m_meshIn, "Mesh", "Mesh to invert"),
        In(&CInvertMeshNode::m_selection, "Selection", kSelectionDescription, SelectionValues(1)),
        Inherited<CInvertMeshNode>(CMeshGeneratorNode::Ports()),
    }};
}

bool CInvertMeshNode::GenerateMesh(CPDMesh* target)
{
    CPDMesh* source = m_meshIn->m_value;
    if (!source || !source->GenerateMesh(target))
        return false;
    CMesh& mesh = target->m_mesh;
    const int selection = Clamped(m_selection);
    for (CMeshFace& face : mesh.m_faces)
        if (SelectionTakes(selection, face.select))
            FlipFace(face);
    for (CMeshVertexA& vertex : mesh.m_vertices)
        if (SelectionTakes(selection, vertex.select))
            for (float& n : vertex.normal)
                n = -n;
    return true;
}
