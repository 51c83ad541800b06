#include "nodes/mesh/transformmeshnode.h"

#include "mesh/meshplacement.h"
#include "ports/types/dataports.h"
#include "ports/types/portvector.h"
#include "scene/nodedeclaration.h"

#include <cmath>
#include <vector>

template <>
CNodeDeclaration DeclareNode<CTransformMeshNode>()
{
    return {{
        In(&CTransformMeshNode::m_pos, "Pos", "Position of mesh", {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&CTransformMeshNode::m_rot, "Rot", "Rotation of mesh", {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&CTransformMeshNode::m_scale, "Scale", "Scale of mesh", {{1, 1, 1}, 0.1f, 10000.0f}),
        In(&CTransformMeshNode::m_mesh1, "Mesh1", "Mesh 1"),
        In(&CTransformMeshNode::m_mesh2, "Mesh2", "Mesh 2"),
        In(&CTransformMeshNode::m_mesh3, "Mesh3", "Mesh 3"),
        In(&CTransformMeshNode::m_mesh4, "Mesh4", "Mesh 4"),
        In(&CTransformMeshNode::m_mesh5, "Mesh5", "Mesh 5"),
        Inherited<CTransformMeshNode>(CMeshGeneratorNode::Ports()),
    }};
}

bool CTransformMeshNode::GenerateMesh(CPDMesh* target)
{
    // Each source fills its own mesh, which is then appended placed.
    size_t vertices = 0, faces = 0;
    std::vector<CPDMesh*> sources;
    for (const CPortMesh* port : {m_mesh1, m_mesh2, m_mesh3, m_mesh4, m_mesh5}) {
        CPDMesh* source = port->m_value;
        if (!source)
            continue;
        if (!source->GenerateMesh(source))
            return false;
        vertices += source->m_mesh.m_vertices.size();
        faces += source->m_mesh.m_faces.size();
        sources.push_back(source);
    }
    if (vertices == 0)
        return true;
    CMesh& mesh = target->m_mesh;
    mesh.Clear();
    mesh.m_vertices.reserve(vertices);
    mesh.m_faces.reserve(faces);
    const SMeshPlacement placement = Placement(m_pos, m_rot, m_scale);
    for (const CPDMesh* source : sources)
        AppendPlaced(mesh, source->m_mesh, placement);
    const SVec3& scale = placement.scale;
    const bool unscaled =
        std::abs(scale.x - 1) <= 1e-5f && std::abs(scale.y - 1) <= 1e-5f && std::abs(scale.z - 1) <= 1e-5f;
    const bool unturned = Dot(placement.rotation, placement.rotation) <= 1e-5f;
    if (!unscaled || !unturned)
        mesh.CalcNormalsAndTangents();
    return true;
}
