#include "nodes/mesh/planenode.h"

#include "mesh/meshshapes.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "scene/nodedeclaration.h"

template <>
CNodeDeclaration DeclareNode<CPlaneNode>()
{
    return {{
                In(&CPlaneNode::m_width, "Width", "Width", {1.0f, 0.01f, 0.0001f, 1000.0f}),
                In(&CPlaneNode::m_height, "Height", "Height", {1.0f, 0.01f, 0.0001f, 1000.0f}),
                In(&CPlaneNode::m_tesselateW, "TesselateW", "Width tessellation", {1, 1, 100000}),
                In(&CPlaneNode::m_tesselateH, "TesselateH", "Height tessellation", {1, 1, 100000}),
                In(&CPlaneNode::m_scaleU, "ScaleU", "Scale of texture U", {1.0f, 0.01f, 0.0001f, 1000.0f}),
                In(&CPlaneNode::m_scaleV, "ScaleV", "Scale of texture V", {1.0f, 0.01f, 0.0001f, 1000.0f}),
                In(&CPlaneNode::m_planeType, "PlaneType", "Invert or double the plane faces", {0, 0, 2, {{0, "Normal"}, {1, "Invert"}, {2, "Double"}}}),
                Inherited<CPlaneNode>(CMeshGeneratorNode::Ports()),
            }};
}

bool CPlaneNode::GenerateMesh(CPDMesh* target)
{
    SPlaneShape shape;
    shape.width = Clamped(m_width);
    shape.height = Clamped(m_height);
    shape.tesselateW = Clamped(m_tesselateW);
    shape.tesselateH = Clamped(m_tesselateH);
    shape.scaleU = Clamped(m_scaleU);
    shape.scaleV = Clamped(m_scaleV);
    shape.type = EPlaneType(Clamped(m_planeType));
    BuildPlane(target->m_mesh, shape);
    return true;
}
