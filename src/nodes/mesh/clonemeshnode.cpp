#include "nodes/mesh/clonemeshnode.h"

#include "mesh/meshplacement.h"
#include "ports/types/dataports.h"
#include "ports/types/portint.h"
#include "ports/types/portvector.h"
#include "scene/nodedeclaration.h"

template <>
CNodeDeclaration DeclareNode<CCloneMeshNode>()
{
    return {{
        In(&CCloneMeshNode::m_numClones, "NumClones", "Number of clones to create", {2, 1, 1000}),
        In(&CCloneMeshNode::m_posChange, "PosChange", "Change in position per cloned mesh",
           {{0, 1, 0}, 0.1f, 10000.0f}),
        In(&CCloneMeshNode::m_rotChange, "RotChange", "Change in rotation per cloned mesh",
           {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&CCloneMeshNode::m_scaleChange, "ScaleChange", "Change in scale per cloned mesh",
           {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&CCloneMeshNode::m_meshIn, "Mesh", "Mesh to clone"),
        Inherited<CCloneMeshNode>(CMeshGeneratorNode::Ports()),
    }};
}

bool CCloneMeshNode::GenerateMesh(CPDMesh* target)
{
    if (!GenerateInto(m_meshIn, m_input))
        return false;
    const int clones = Clamped(m_numClones);
    const CMesh& input = m_input.m_mesh;
    CMesh& mesh = target->m_mesh;
    mesh.m_vertices.reserve(mesh.m_vertices.size() + input.m_vertices.size() * size_t(clones));
    mesh.m_faces.reserve(mesh.m_faces.size() + input.m_faces.size() * size_t(clones));
    const auto& pos = m_posChange->m_value;
    const auto& rot = m_rotChange->m_value;
    const auto& scale = m_scaleChange->m_value;
    bool mirrored = false;
    for (int i = 0; i < clones; ++i) {
        const float f = float(i);
        SMeshPlacement placement;
        placement.position = {pos[0] * f, pos[1] * f, pos[2] * f};
        placement.rotation = {rot[0] * f, rot[1] * f, rot[2] * f};
        placement.scale = {1 + scale[0] * f, 1 + scale[1] * f, 1 + scale[2] * f};
        if (!AppendPlaced(mesh, input, placement))
            mirrored = true;
    }
    if (mirrored)
        mesh.CalcNormalsAndTangents();
    return true;
}
