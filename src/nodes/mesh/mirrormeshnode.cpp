#include "nodes/mesh/mirrormeshnode.h"

#include "nodes/support/meshselection.h"
#include "ports/types/dataports.h"
#include "ports/types/portbool.h"
#include "ports/types/portint.h"
#include "scene/nodedeclaration.h"

template <>
CNodeDeclaration DeclareNode<CMirrorMeshNode>()
{
    return {{
        In(&CMirrorMeshNode::m_meshIn, "Mesh", "Mesh to mirror"),
        In(&CMirrorMeshNode::m_mirrorX, "MirrorX", "Mirror in the X axis", false),
        In(&CMirrorMeshNode::m_mirrorY, "MirrorY", "Mirror in the Y axis", false),
        In(&CMirrorMeshNode::m_mirrorZ, "MirrorZ", "Mirror in the Z axis", false),
        In(&CMirrorMeshNode::m_selection, "Selection", kSelectionDescription, SelectionValues(1)),
        In(&CMirrorMeshNode::m_recalcNormals, "RecalcNormals", "Recompute the normals", false),
        In(&CMirrorMeshNode::m_recalcTangents, "RecalcTangents", "Recompute the tangents", false),
        Inherited<CMirrorMeshNode>(CMeshGeneratorNode::Ports()),
    }};
}

bool CMirrorMeshNode::GenerateMesh(CPDMesh* target)
{
    CPDMesh* source = m_meshIn->m_value;
    if (!source || !source->GenerateMesh(target))
        return false;
    CMesh& mesh = target->m_mesh;
    const float signs[3] = {m_mirrorX->m_value ? -1.0f : 1.0f, m_mirrorY->m_value ? -1.0f : 1.0f,
                            m_mirrorZ->m_value ? -1.0f : 1.0f};
    const bool inverts = signs[0] * signs[1] * signs[2] < 0;
    const int selection = Clamped(m_selection);
    for (CMeshVertexA& vertex : mesh.m_vertices) {
        if (!SelectionTakes(selection, vertex.select))
            continue;
        for (int a = 0; a < 3; ++a) {
            vertex.position[a] *= signs[a];
            if (inverts)
                vertex.normal[a] *= signs[a];
        }
    }
    if (inverts)
        for (CMeshFace& face : mesh.m_faces)
            if (SelectionTakes(selection, face.select))
                FlipFace(face);
    if (m_recalcNormals->m_value)
        mesh.CalcNormals(mesh.SurfaceMap());
    if (m_recalcTangents->m_value)
        mesh.CalcTangents(mesh.SurfaceMap());
    return true;
}
