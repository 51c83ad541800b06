#include "nodes/mesh/randomizenode.h"

#include "nodes/support/meshselection.h"
#include "ports/types/dataports.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "scene/nodedeclaration.h"

#include <algorithm>

template <>
CNodeDeclaration DeclareNode<CRandomizeNode>()
{
    return {{
        In(&CRandomizeNode::m_meshIn, "Mesh", "Mesh to randomize"),
        In(&CRandomizeNode::m_selection, "Selection", kSelectionDescription, SelectionValues(1)),
        In(&CRandomizeNode::m_direction, "Direction", "In what direction to randomize in",
           {0, 0, 1, {{0, "3d"}, {1, "Along normal"}}}),
        In(&CRandomizeNode::m_amount, "Amount", "Randomization distance", {1.0f, 0.01f, -10000.0f, 10000.0f}),
        In(&CRandomizeNode::m_randomSeed, "RandomSeed", "Random seed", {1, 1, 100000}),
        Inherited<CRandomizeNode>(CMeshGeneratorNode::Ports()),
    }};
}

bool CRandomizeNode::GenerateMesh(CPDMesh* target)
{
    CPDMesh* source = m_meshIn->m_value;
    if (!source || !source->GenerateMesh(target))
        return false;
    CMesh& mesh = target->m_mesh;
    m_random.Seed(uint32_t(Clamped(m_randomSeed)));
    const std::vector<int32_t> map = mesh.PositionMap();
    const int selection = Clamped(m_selection);
    const bool alongNormal = Clamped(m_direction) == 1;
    const float amount = Clamped(m_amount);
    for (size_t i = 0; i < mesh.m_vertices.size(); ++i) {
        CMeshVertexA& vertex = mesh.m_vertices[i];
        if (map[i] >= 0) {
            std::copy_n(mesh.m_vertices[size_t(map[i])].position, 3, vertex.position);
            continue;
        }
        if (!SelectionTakes(selection, vertex.select))
            continue;
        if (alongNormal) {
            const float distance = m_random.NextSigned() * amount;
            for (int a = 0; a < 3; ++a)
                vertex.position[a] += vertex.normal[a] * distance;
        } else {
            for (float& p : vertex.position)
                p += m_random.NextSigned() * amount;
        }
    }
    mesh.CalcNormalsAndTangents();
    return true;
}
