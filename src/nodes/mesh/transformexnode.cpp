#include "nodes/mesh/transformexnode.h"

#include "mesh/meshplacement.h"
#include "nodes/support/meshselection.h"
#include "ports/types/dataports.h"
#include "ports/types/portint.h"
#include "ports/types/portvector.h"
#include "scene/nodedeclaration.h"

#include <algorithm>

namespace {

enum EComponent
{
    ComponentPosition = 0,
    ComponentNormal = 1,
    ComponentTangent = 2,
    ComponentUV = 3,
    ComponentColor = 5,
};

SIntValues ComponentValues()
{
    return {ComponentUV, 0, ComponentColor, {{0, "Position"}, {1, "Normal"}, {2, "Tangent"}, {3, "UV"}, {5, "Color"}}};
}

SVec3 Read(const CMeshVertexA& vertex, int component)
{
    switch (component) {
    case ComponentPosition:
        return {vertex.position[0], vertex.position[1], vertex.position[2]};
    case ComponentNormal:
        return {vertex.normal[0], vertex.normal[1], vertex.normal[2]};
    case ComponentTangent:
        return {vertex.tangent[0], vertex.tangent[1], vertex.tangent[2]};
    case ComponentUV:
        return {vertex.uv[0], vertex.uv[1], 0};
    default:
        return {float(vertex.color & 0xFF) / 255.0f, float((vertex.color >> 8) & 0xFF) / 255.0f,
                float((vertex.color >> 16) & 0xFF) / 255.0f};
    }
}

void Write(CMeshVertexA& vertex, int component, const SVec3& value)
{
    const float v[3] = {value.x, value.y, value.z};
    switch (component) {
    case ComponentPosition:
        std::copy_n(v, 3, vertex.position);
        break;
    case ComponentNormal:
        std::copy_n(v, 3, vertex.normal);
        break;
    case ComponentTangent:
        std::copy_n(v, 3, vertex.tangent);
        break;
    case ComponentUV:
        std::copy_n(v, 2, vertex.uv);
        break;
    default: {
        uint32_t color = 0;
        for (int c = 0; c < 3; ++c)
            color |= uint32_t(std::clamp(v[c], 0.0f, 1.0f) * 255.0f) << (8 * c);
        vertex.color = color;
    }
    }
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CTransformExNode>()
{
    return {{
        In(&CTransformExNode::m_pos, "Pos", "Position of mesh", {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&CTransformExNode::m_rot, "Rot", "Rotation of mesh", {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&CTransformExNode::m_scale, "Scale", "Scale of mesh", {{1, 1, 1}, 0.1f, 10000.0f}),
        In(&CTransformExNode::m_selection, "Selection", kSelectionDescription, SelectionValues(1)),
        In(&CTransformExNode::m_inputComponent, "InputComponent", "Source component to apply the transformation to",
           ComponentValues()),
        In(&CTransformExNode::m_outputComponent, "OutputComponent", "Destination component to set", ComponentValues()),
        In(&CTransformExNode::m_meshIn, "Mesh", "Mesh to transform"),
        Inherited<CTransformExNode>(CMeshGeneratorNode::Ports()),
    }};
}

bool CTransformExNode::GenerateMesh(CPDMesh* target)
{
    CPDMesh* source = m_meshIn->m_value;
    if (!source || !source->GenerateMesh(target))
        return false;
    const SMeshPlacement placement = Placement(m_pos, m_rot, m_scale);
    const CMatrix matrix = PlacementMatrix(placement);
    const int selection = Clamped(m_selection);
    const int from = Clamped(m_inputComponent);
    const int to = Clamped(m_outputComponent);
    for (CMeshVertexA& vertex : target->m_mesh.m_vertices)
        if (SelectionTakes(selection, vertex.select))
            Write(vertex, to, TransformPoint(Read(vertex, from), matrix));
    return true;
}
