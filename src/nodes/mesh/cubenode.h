#pragma once

#include "nodes/support/meshgenerator.h"

class CPortFloat;
class CPortInt;
class CPortVector;

// A box centred on the origin with hard edges and tessellated sides.
class CCubeNode : public CMeshGeneratorNode
{
public:
    bool GenerateMesh(CPDMesh* target) override;

private:
    friend CNodeDeclaration DeclareNode<CCubeNode>();

    CPortVector* m_size = nullptr;
    CPortFloat* m_scaleU = nullptr;
    CPortFloat* m_scaleV = nullptr;
    CPortInt* m_tesselateX = nullptr;
    CPortInt* m_tesselateY = nullptr;
    CPortInt* m_tesselateZ = nullptr;
};
