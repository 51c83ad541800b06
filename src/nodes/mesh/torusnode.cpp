#include "nodes/mesh/torusnode.h"

#include "mesh/meshshapes.h"
#include "ports/types/portbool.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "scene/nodedeclaration.h"

template <>
CNodeDeclaration DeclareNode<CTorusNode>()
{
    return {{
                In(&CTorusNode::m_subAxis, "SubAxis", "Subdivisions axis", {256, 3, 1000}),
                In(&CTorusNode::m_subHeight, "SubHeight", "Subdivisions height", {16, 3, 1000}),
                In(&CTorusNode::m_radius, "Radius", "Radius", {2.0f, 0.01f, 0.01f, 1000.0f}),
                In(&CTorusNode::m_thickness, "Thickness", "Thickness", {0.2f, 0.01f, 0.01f, 1000.0f}),
                In(&CTorusNode::m_arc, "Arc", "The arc of the torus. Not used by PQ torus", {1.0f, 0.01f, 0.0f, 1.0f}),
                In(&CTorusNode::m_phase, "Phase", "Phase of the torus (Rotation)", {0.0f, 0.01f, -1000.0f, 1000.0f}),
                In(&CTorusNode::m_scaleU, "ScaleU", "Scale of texture U. Along one ring segment", {2.0f, 0.01f, 0.0001f, 1000.0f}),
                In(&CTorusNode::m_scaleV, "ScaleV", "Scale of texture V. Around the torus", {10.0f, 0.01f, 0.0001f, 1000.0f}),
                In(&CTorusNode::m_isPQTorus, "IsPQTorus", "Toggle if the torus is a PQ torus. If false P, Q, ClumpOffset & ClumpScale values are ignored", false),
                In(&CTorusNode::m_p, "P", "P. Make sure IsPQTorus is set to true to enable this value", {1.0f, 0.01f, -1000.0f, 1000.0f}),
                In(&CTorusNode::m_q, "Q", "Q. Make sure IsPQTorus is set to true to enable this value", {0.0f, 0.01f, -1000.0f, 1000.0f}),
                In(&CTorusNode::m_clumps, "Clumps", "Number of clones to create", {0, 0, 1000}),
                In(&CTorusNode::m_clumpOffset, "ClumpOffset", "Offset of the clumps. Only used by PQ torus", {0.0f, 0.1f, -10000.0f, 10000.0f}),
                In(&CTorusNode::m_clumpScale, "ClumpScale", "Scale of a clumps. Only used by PQ torus", {0.0f, 0.01f, 0.01f, 1000.0f}),
                Inherited<CTorusNode>(CMeshGeneratorNode::Ports()),
            }};
}

bool CTorusNode::GenerateMesh(CPDMesh* target)
{
    STorusShape shape;
    shape.subAxis = Clamped(m_subAxis);
    shape.subHeight = Clamped(m_subHeight);
    shape.radius = Clamped(m_radius);
    shape.thickness = Clamped(m_thickness);
    shape.arc = Clamped(m_arc);
    shape.phase = Clamped(m_phase);
    shape.scaleU = Clamped(m_scaleU);
    shape.scaleV = Clamped(m_scaleV);
    shape.isPQ = m_isPQTorus->m_value;
    shape.p = Clamped(m_p);
    shape.q = Clamped(m_q);
    shape.clumps = Clamped(m_clumps);
    shape.clumpOffset = Clamped(m_clumpOffset);
    // The default of 0 lies below the range; it is what a new torus uses.
    shape.clumpScale = m_clumpScale->m_value;
    BuildTorus(target->m_mesh, shape);
    return true;
}
