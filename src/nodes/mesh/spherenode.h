#pragma once

#include "nodes/support/meshgenerator.h"

class CPortFloat;
class CPortInt;

// A UV sphere around the Y axis with a smooth seam.
class CSphereNode : public CMeshGeneratorNode
{
public:
    bool GenerateMesh(CPDMesh* target) override;

private:
    friend CNodeDeclaration DeclareNode<CSphereNode>();

    CPortFloat* m_radius = nullptr;
    CPortInt* m_numRings = nullptr;
    CPortInt* m_numSegments = nullptr;
    CPortFloat* m_scaleU = nullptr;
    CPortFloat* m_scaleV = nullptr;
};
