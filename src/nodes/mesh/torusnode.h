#pragma once

#include "nodes/support/meshgenerator.h"

class CPortBool;
class CPortFloat;
class CPortInt;

// A torus, open when its arc is short of a full turn, or a tube along a (p, q) knot.
class CTorusNode : public CMeshGeneratorNode
{
public:
    bool GenerateMesh(CPDMesh* target) override;

private:
    friend CNodeDeclaration DeclareNode<CTorusNode>();

    CPortInt* m_subAxis = nullptr;
    CPortInt* m_subHeight = nullptr;
    CPortFloat* m_radius = nullptr;
    CPortFloat* m_thickness = nullptr;
    CPortFloat* m_arc = nullptr;
    CPortFloat* m_phase = nullptr;
    CPortFloat* m_scaleU = nullptr;
    CPortFloat* m_scaleV = nullptr;
    CPortBool* m_isPQTorus = nullptr;
    CPortFloat* m_p = nullptr;
    CPortFloat* m_q = nullptr;
    CPortInt* m_clumps = nullptr;
    CPortFloat* m_clumpOffset = nullptr;
    CPortFloat* m_clumpScale = nullptr;
};
