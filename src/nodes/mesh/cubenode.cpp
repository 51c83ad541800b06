#include "nodes/mesh/cubenode.h"

#include "mesh/meshshapes.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "ports/types/portvector.h"
#include "scene/nodedeclaration.h"

#include <algorithm>

namespace {

SVectorValues CubeSizeValues()
{
    SVectorValues values({1, 1, 1}, 0.01f, 10000.0f);
    values.min = {0.0001f, 0.0001f, 0.0001f};
    return values;
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CCubeNode>()
{
    return {{
                In(&CCubeNode::m_size, "Size", "Cube size", CubeSizeValues()),
                In(&CCubeNode::m_scaleU, "ScaleU", "Scale of texture U", {1.0f, 0.01f, 0.0001f, 1000.0f}),
                In(&CCubeNode::m_scaleV, "ScaleV", "Scale of texture V", {1.0f, 0.01f, 0.0001f, 1000.0f}),
                In(&CCubeNode::m_tesselateX, "TesselateX", "Tesselation along X axis", {1, 1, 100000}),
                In(&CCubeNode::m_tesselateY, "TesselateY", "Tesselation along Y axis", {1, 1, 100000}),
                In(&CCubeNode::m_tesselateZ, "TesselateZ", "Tesselation along Z axis", {1, 1, 100000}),
                Inherited<CCubeNode>(CMeshGeneratorNode::Ports()),
            }};
}

bool CCubeNode::GenerateMesh(CPDMesh* target)
{
    SCubeShape shape;
    const auto& size = m_size->m_value;
    shape.size = {std::max(size[0], 0.0001f), std::max(size[1], 0.0001f), std::max(size[2], 0.0001f)};
    shape.scaleU = Clamped(m_scaleU);
    shape.scaleV = Clamped(m_scaleV);
    shape.tesselateX = Clamped(m_tesselateX);
    shape.tesselateY = Clamped(m_tesselateY);
    shape.tesselateZ = Clamped(m_tesselateZ);
    BuildCube(target->m_mesh, shape);
    return true;
}
