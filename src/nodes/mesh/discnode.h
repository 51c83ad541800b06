#pragma once

#include "nodes/support/meshgenerator.h"

class CPortBool;
class CPortFloat;
class CPortInt;

// A flat disc or ring in the XY plane, one- or two-sided.
class CDiscNode : public CMeshGeneratorNode
{
public:
    bool GenerateMesh(CPDMesh* target) override;

private:
    friend CNodeDeclaration DeclareNode<CDiscNode>();

    CPortFloat* m_outerRadius = nullptr;
    CPortFloat* m_innerRadius = nullptr;
    CPortInt* m_numSegments = nullptr;
    CPortBool* m_doubleSided = nullptr;
    CPortFloat* m_phase = nullptr;
    CPortFloat* m_scaleU = nullptr;
    CPortFloat* m_scaleV = nullptr;
};
