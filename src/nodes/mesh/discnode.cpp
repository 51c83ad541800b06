#include "nodes/mesh/discnode.h"

#include "mesh/meshshapes.h"
#include "ports/types/portbool.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "scene/nodedeclaration.h"

template <>
CNodeDeclaration DeclareNode<CDiscNode>()
{
    return {{
                In(&CDiscNode::m_outerRadius, "OuterRadius", "Radius of the outer ring", {1.0f, 0.1f, 0.0f, 10000.0f}),
                In(&CDiscNode::m_innerRadius, "InnerRadius", "Radius of the inner ring", {0.0f, 0.1f, 0.0f, 10000.0f}),
                In(&CDiscNode::m_numSegments, "NumSegments", "Number of segments", {32, 3, 1000}),
                In(&CDiscNode::m_doubleSided, "DoubleSided", "Create faces on both sides of the disk", false),
                In(&CDiscNode::m_phase, "Phase", "The rotational phase of the vertices", {0.0f, 0.01f, -10000.0f, 10000.0f}),
                In(&CDiscNode::m_scaleU, "ScaleU", "Scale of texture U", {1.0f, 0.01f, 0.0001f, 1000.0f}),
                In(&CDiscNode::m_scaleV, "ScaleV", "Scale of texture V", {1.0f, 0.01f, 0.0001f, 1000.0f}),
                Inherited<CDiscNode>(CMeshGeneratorNode::Ports()),
            }};
}

bool CDiscNode::GenerateMesh(CPDMesh* target)
{
    SDiscShape shape;
    shape.outerRadius = Clamped(m_outerRadius);
    shape.innerRadius = Clamped(m_innerRadius);
    shape.segments = Clamped(m_numSegments);
    shape.doubleSided = m_doubleSided->m_value;
    shape.phase = Clamped(m_phase);
    shape.scaleU = Clamped(m_scaleU);
    shape.scaleV = Clamped(m_scaleV);
    BuildDisc(target->m_mesh, shape);
    return true;
}
