#include "nodes/mesh/deletefacesnode.h"

#include "nodes/support/meshselection.h"
#include "ports/types/dataports.h"
#include "ports/types/portint.h"

#include <algorithm>

template <>
CNodeDeclaration DeclareNode<CDeleteFacesNode>()
{
    return {{
        In(&CDeleteFacesNode::m_meshIn, "Mesh", "Mesh to remove faces from"),
        In(&CDeleteFacesNode::m_selection, "Selection", kSelectionDescription, SelectionValues(2)),
        Inherited<CDeleteFacesNode>(CMeshGeneratorNode::Ports()),
    }};
}

bool CDeleteFacesNode::GenerateMesh(CPDMesh* target)
{
    CPDMesh* source = m_meshIn->m_value;
    if (!source || !source->GenerateMesh(target))
        return false;
    const int selection = Clamped(m_selection);
    std::erase_if(target->m_mesh.m_faces,
                  [selection](const CMeshFace& face) { return SelectionTakes(selection, face.select); });
    return true;
}
