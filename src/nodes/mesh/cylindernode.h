#pragma once

#include "nodes/support/meshgenerator.h"

class CPortBool;
class CPortFloat;
class CPortInt;

// A cylinder or cone along Y, with optional caps.
class CCylinderNode : public CMeshGeneratorNode
{
public:
    bool GenerateMesh(CPDMesh* target) override;

private:
    friend CNodeDeclaration DeclareNode<CCylinderNode>();

    CPortFloat* m_radius = nullptr;
    CPortFloat* m_radiusScaleTop = nullptr;
    CPortFloat* m_radiusScaleBottom = nullptr;
    CPortFloat* m_height = nullptr;
    CPortInt* m_numSegments = nullptr;
    CPortInt* m_numSlices = nullptr;
    CPortInt* m_rings = nullptr;
    CPortFloat* m_scaleU = nullptr;
    CPortFloat* m_scaleV = nullptr;
    CPortBool* m_capped = nullptr;
    CPortBool* m_center = nullptr;
};
