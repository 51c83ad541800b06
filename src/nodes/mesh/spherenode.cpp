#include "nodes/mesh/spherenode.h"

#include "mesh/meshshapes.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "scene/nodedeclaration.h"

template <>
CNodeDeclaration DeclareNode<CSphereNode>()
{
    return {{
                In(&CSphereNode::m_radius, "Radius", "Radius", {1.0f, 1.0f, 0.0001f, 10000.0f}),
                In(&CSphereNode::m_numRings, "NumRings", "Number of rings", {32, 3, 1000}),
                In(&CSphereNode::m_numSegments, "NumSegments", "Number of segments", {32, 3, 1000}),
                In(&CSphereNode::m_scaleU, "ScaleU", "Scale of texture U", {1.0f, 0.01f, 0.0001f, 1000.0f}),
                In(&CSphereNode::m_scaleV, "ScaleV", "Scale of texture V", {1.0f, 0.01f, 0.0001f, 1000.0f}),
                Inherited<CSphereNode>(CMeshGeneratorNode::Ports()),
            }};
}

bool CSphereNode::GenerateMesh(CPDMesh* target)
{
    SSphereShape shape;
    shape.radius = Clamped(m_radius);
    shape.rings = Clamped(m_numRings);
    shape.segments = Clamped(m_numSegments);
    shape.scaleU = Clamped(m_scaleU);
    shape.scaleV = Clamped(m_scaleV);
    BuildSphere(target->m_mesh, shape);
    return true;
}
