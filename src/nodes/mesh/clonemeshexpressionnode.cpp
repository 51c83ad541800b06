#include "nodes/mesh/clonemeshexpressionnode.h"

#include "mesh/meshplacement.h"
#include "ports/types/dataports.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "ports/types/portstring.h"
#include "scene/nodedeclaration.h"

template <>
CNodeDeclaration DeclareNode<CCloneMeshExpressionNode>()
{
    return {{
        In(&CCloneMeshExpressionNode::m_numObjectsX, "NumObjectsX", "Number of objects to create in X", {3, 1, 10000}),
        In(&CCloneMeshExpressionNode::m_numObjectsY, "NumObjectsY", "Number of objects to create in Y", {3, 1, 10000}),
        In(&CCloneMeshExpressionNode::m_numObjectsZ, "NumObjectsZ", "Number of objects to create in Z", {3, 1, 10000}),
        InEach(&CCloneMeshExpressionNode::m_inputs, "In", "12345", "Input value #", {0.0f, 0.01f, -10000.0f, 10000.0f}),
        In(&CCloneMeshExpressionNode::m_randomSeed, "RandomSeed",
           "Random seed to be used by the rand() and srand() functions", {1, 1, 100000}),
        In(&CCloneMeshExpressionNode::m_expression, "Expression", "Expression evaluated for each clone",
           "pos.x = x;\r\npos.y = y;\r\npos.z = z;\r\n"),
        In(&CCloneMeshExpressionNode::m_meshIn, "Mesh", "Mesh to clone"),
        Inherited<CCloneMeshExpressionNode>(CMeshGeneratorNode::Ports()),
    }};
}

bool CCloneMeshExpressionNode::Init()
{
    static constexpr const char* names[] = {
        "x",   "y",     "z",     "numobjectsx", "numobjectsy", "numobjectsz", "in1",   "in2",     "in3",     "in4",
        "in5", "pos.x", "pos.y", "pos.z",       "rot.x",       "rot.y",       "rot.z", "scale.x", "scale.y", "scale.z"};
    static_assert(std::size(names) == V_Count);
    for (size_t i = 0; i < V_Count; ++i)
        m_context.AddVariable(names[i], &m_variables[i], 0.0);
    m_context.BindLists();
    return CMeshGeneratorNode::Init();
}

bool CCloneMeshExpressionNode::GenerateMesh(CPDMesh* target)
{
    if (!GenerateInto(m_meshIn, m_input))
        return false;
    // The parser logs what is wrong with a text.
    m_context.Parse(m_expression->m_value);
    if (!m_context.IsValid())
        return false;
    for (size_t i = 0; i < m_inputs.size(); ++i)
        m_variables[V_In1 + i] = double(m_inputs[i]->m_value);
    m_context.SeedRandom(uint32_t(Clamped(m_randomSeed)));
    const int counts[3] = {Clamped(m_numObjectsX), Clamped(m_numObjectsY), Clamped(m_numObjectsZ)};
    for (int a = 0; a < 3; ++a)
        m_variables[size_t(V_NumX + a)] = counts[a];

    const CMesh& input = m_input.m_mesh;
    CMesh& mesh = target->m_mesh;
    mesh.Clear();
    const size_t total = size_t(counts[0]) * size_t(counts[1]) * size_t(counts[2]);
    mesh.m_vertices.reserve(input.m_vertices.size() * total);
    mesh.m_faces.reserve(input.m_faces.size() * total);
    bool mirrored = false;
    auto v = [this](int i) { return float(m_variables[size_t(i)]); };
    for (int z = 1; z <= counts[2]; ++z)
        for (int y = 1; y <= counts[1]; ++y)
            for (int x = 1; x <= counts[0]; ++x) {
                m_variables[V_X] = m_variables[V_PosX] = x;
                m_variables[V_Y] = m_variables[V_PosY] = y;
                m_variables[V_Z] = m_variables[V_PosZ] = z;
                // Rotation carries over from the clone before.
                m_variables[V_ScaleX] = m_variables[V_ScaleY] = m_variables[V_ScaleZ] = 1.0;
                m_context.Evaluate();
                SMeshPlacement placement;
                placement.position = {v(V_PosX), v(V_PosY), v(V_PosZ)};
                placement.rotation = {v(V_RotX), v(V_RotY), v(V_RotZ)};
                placement.scale = {v(V_ScaleX), v(V_ScaleY), v(V_ScaleZ)};
                if (!AppendPlaced(mesh, input, placement))
                    mirrored = true;
            }
    if (mirrored)
        mesh.CalcNormalsAndTangents();
    return true;
}
