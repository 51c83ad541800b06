#include "nodes/mesh/cylindernode.h"

#include "mesh/meshshapes.h"
#include "ports/types/portbool.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "scene/nodedeclaration.h"

template <>
CNodeDeclaration DeclareNode<CCylinderNode>()
{
    return {{
                In(&CCylinderNode::m_radius, "Radius", "Radius", {0.5f, 0.1f, 0.0001f, 10000.0f}),
                In(&CCylinderNode::m_radiusScaleTop, "RadiusScaleTop", "Scale adjustment of top ring", {1.0f, 0.01f, -1000.0f, 1000.0f}),
                In(&CCylinderNode::m_radiusScaleBottom, "RadiusScaleBottom", "Scale adjustment of bottom ring", {1.0f, 0.01f, -1000.0f, 1000.0f}),
                In(&CCylinderNode::m_height, "Height", "Height", {1.0f, 0.1f, 0.0001f, 10000.0f}),
                In(&CCylinderNode::m_numSegments, "NumSegments", "Number of segments. Around, like cake slices", {12, 3, 1000}),
                In(&CCylinderNode::m_numSlices, "NumSlices", "Number of slices. Vertically from top to bottom", {1, 1, 1000}),
                In(&CCylinderNode::m_rings, "Rings", "Number of rings in top and bottom part", {1, 1, 1000}),
                In(&CCylinderNode::m_scaleU, "ScaleU", "Scale of texture U", {1.0f, 0.01f, 0.0001f, 1000.0f}),
                In(&CCylinderNode::m_scaleV, "ScaleV", "Scale of texture V", {1.0f, 0.01f, 0.0001f, 1000.0f}),
                In(&CCylinderNode::m_capped, "Capped", "Put caps on the top and bottom of the cylinder", true),
                In(&CCylinderNode::m_center, "Center", "Center the cylinder", true),
                Inherited<CCylinderNode>(CMeshGeneratorNode::Ports()),
            }};
}

bool CCylinderNode::GenerateMesh(CPDMesh* target)
{
    // ScaleU and ScaleV are kept for saved scenes; the cylinder's uv follow
    // its caps and wall and are not scaled.
    SCylinderShape shape;
    shape.radius = Clamped(m_radius);
    shape.radiusScaleTop = Clamped(m_radiusScaleTop);
    shape.radiusScaleBottom = Clamped(m_radiusScaleBottom);
    shape.height = Clamped(m_height);
    shape.segments = Clamped(m_numSegments);
    shape.slices = Clamped(m_numSlices);
    shape.rings = Clamped(m_rings);
    shape.capped = m_capped->m_value;
    shape.center = m_center->m_value;
    BuildCylinder(target->m_mesh, shape);
    return true;
}
