#include "nodes/mesh/selectmeshnode.h"

#include "mesh/meshplacement.h"
#include "ports/types/dataports.h"
#include "ports/types/portbool.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "ports/types/portvector.h"
#include "scene/nodedeclaration.h"

#include <algorithm>
#include <cmath>

namespace {

enum EType
{
    TypeCube = 0,
    TypeSphere = 1,
    TypeVertex = 2,
    TypeFace = 3,
    TypeAll = 4,
};

enum ELogic
{
    LogicClear = 0,
    LogicAssign = 1,
    LogicSet = 2,
};

enum EOutput
{
    OutputVertex = 0,
    OutputTouched = 1,
    OutputEnclosed = 2,
};

} // namespace

template <>
CNodeDeclaration DeclareNode<CSelectMeshNode>()
{
    return {{
        In(&CSelectMeshNode::m_meshIn, "Mesh", "Mesh to select in"),
        In(&CSelectMeshNode::m_selectionType, "SelectionType", "The selection type",
           {TypeAll, 0, 4, {{0, "Cube"}, {1, "Sphere"}, {2, "Vertex"}, {3, "Face"}, {4, "All"}}}),
        In(&CSelectMeshNode::m_pos, "Pos", "The selection objects postion (For type cube or spehere)",
           {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&CSelectMeshNode::m_rot, "Rot", "The selection objects rotation (For type cube or spehere)",
           {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&CSelectMeshNode::m_scale, "Scale", "The selection objects scale (For type cube or spehere)",
           {{1, 1, 1}, 0.01f, 10000.0f}),
        In(&CSelectMeshNode::m_logic, "Logic", "The logic to apply to change the current selection on the mesh",
           {LogicAssign, 0, 2, {{0, "Clear"}, {1, "Assign"}, {2, "Set"}}}),
        In(&CSelectMeshNode::m_invert, "Invert", "Invert the selection login", false),
        In(&CSelectMeshNode::m_output, "Output", "What to select",
           {OutputTouched, 0, 2, {{0, "Vertex"}, {1, "Touched face"}, {2, "Enclosed face"}}}),
        In(&CSelectMeshNode::m_randomFactor, "RandomFactor",
           "The chance that a included primitive will actually get picked. 0=None get included, 1=All get included",
           {1.0f, 0.01f, 0.0f, 1.0f}),
        In(&CSelectMeshNode::m_randomSeed, "RandomSeed", "Random seed to be used by the rand() and srand() functions",
           {1, 1, 100000}),
        Inherited<CSelectMeshNode>(CMeshGeneratorNode::Ports()),
    }};
}

bool CSelectMeshNode::GenerateMesh(CPDMesh* target)
{
    CPDMesh* source = m_meshIn->m_value;
    if (!source || !source->GenerateMesh(target))
        return false;
    CMesh& mesh = target->m_mesh;
    m_random.Seed(uint32_t(Clamped(m_randomSeed)));
    const SMeshPlacement placement = Placement(m_pos, m_rot, m_scale);
    CMatrix rotation;
    PlacementMatrix(placement, &rotation);
    const int type = Clamped(m_selectionType);
    const SVec3& s = placement.scale;
    const float scale[3] = {s.x, s.y, s.z};

    m_weights.assign(mesh.m_vertices.size(), type == TypeAll ? 1.0f : 0.0f);
    if (type == TypeFace) {
        for (const CMeshFace& face : mesh.m_faces)
            if (face.select > 0)
                for (int c = 0; c < face.count; ++c)
                    m_weights[size_t(face.vertices[c])] = face.select;
    } else if (type != TypeAll) {
        for (size_t i = 0; i < mesh.m_vertices.size(); ++i) {
            const CMeshVertexA& vertex = mesh.m_vertices[i];
            if (type == TypeVertex) {
                m_weights[i] = vertex.select;
                continue;
            }
            const SVec3 d = SVec3{vertex.position[0], vertex.position[1], vertex.position[2]} - placement.position;
            float q[3];
            for (int a = 0; a < 3; ++a) {
                const SVec3 row = {rotation[size_t(a * 4)], rotation[size_t(a * 4 + 1)], rotation[size_t(a * 4 + 2)]};
                q[a] = Dot(row, d) / scale[a];
            }
            const bool inside = type == TypeCube ? std::abs(q[0]) <= 1 && std::abs(q[1]) <= 1 && std::abs(q[2]) <= 1
                                                 : q[0] * q[0] + q[1] * q[1] + q[2] * q[2] <= 1;
            m_weights[i] = inside ? 1.0f : 0.0f;
        }
    }
    if (m_invert->m_value)
        for (float& w : m_weights)
            w = 1 - w;

    const float factor = Clamped(m_randomFactor);
    const int logic = Clamped(m_logic);
    const int output = Clamped(m_output);
    if (output == OutputVertex) {
        for (size_t i = 0; i < mesh.m_vertices.size(); ++i) {
            float v = m_weights[i];
            if (factor < m_random.NextUnit())
                v = 0;
            float& select = mesh.m_vertices[i].select;
            select = logic == LogicClear    ? std::max(0.0f, select - v)
                     : logic == LogicAssign ? std::min(1.0f, select + v)
                                            : v;
        }
        return true;
    }
    for (CMeshFace& face : mesh.m_faces) {
        int inside = 0;
        for (int c = 0; c < face.count; ++c)
            inside += m_weights[size_t(face.vertices[c])] >= 0.5f ? 1 : 0;
        bool hit = output == OutputTouched ? inside > 0 : inside == face.count;
        if (factor < m_random.NextUnit())
            hit = false;
        if (logic == LogicSet)
            face.select = hit ? 1.0f : 0.0f;
        else if (hit)
            face.select = logic == LogicClear ? 0.0f : 1.0f;
    }
    return true;
}
