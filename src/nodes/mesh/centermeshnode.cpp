#include "nodes/mesh/centermeshnode.h"

#include "ports/types/dataports.h"
#include "scene/nodedeclaration.h"

#include <algorithm>

template <>
CNodeDeclaration DeclareNode<CCenterMeshNode>()
{
    return {{
        In(&CCenterMeshNode::m_meshIn, "Mesh", "Mesh to center"),
        Inherited<CCenterMeshNode>(CMeshGeneratorNode::Ports()),
    }};
}

bool CCenterMeshNode::GenerateMesh(CPDMesh* target)
{
    CPDMesh* source = m_meshIn->m_value;
    if (!source || !source->GenerateMesh(target))
        return false;
    CMesh& mesh = target->m_mesh;
    if (mesh.m_vertices.empty())
        return true;
    float low[3] = {1e30f, 1e30f, 1e30f}, high[3] = {-1e30f, -1e30f, -1e30f};
    for (const CMeshVertexA& vertex : mesh.m_vertices)
        for (int a = 0; a < 3; ++a) {
            low[a] = std::min(low[a], vertex.position[a]);
            high[a] = std::max(high[a], vertex.position[a]);
        }
    for (CMeshVertexA& vertex : mesh.m_vertices)
        for (int a = 0; a < 3; ++a)
            vertex.position[a] -= (low[a] + high[a]) * 0.5f;
    return true;
}
