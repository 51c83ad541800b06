#pragma once

#include "nodes/support/meshgenerator.h"

class CPortFloat;
class CPortInt;

// A flat grid in the XY plane, facing -Z, centred on the origin.
class CPlaneNode : public CMeshGeneratorNode
{
public:
    bool GenerateMesh(CPDMesh* target) override;

private:
    friend CNodeDeclaration DeclareNode<CPlaneNode>();

    CPortFloat* m_width = nullptr;
    CPortFloat* m_height = nullptr;
    CPortInt* m_tesselateW = nullptr;
    CPortInt* m_tesselateH = nullptr;
    CPortFloat* m_scaleU = nullptr;
    CPortFloat* m_scaleV = nullptr;
    CPortInt* m_planeType = nullptr;
};
