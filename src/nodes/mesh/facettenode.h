#pragma once

#include "nodes/support/meshgenerator.h"

class CPortFloat;
class CPortMesh;

// Blends the normals between flat faces and a smooth surface.
class CFacetteNode : public CMeshGeneratorNode
{
public:
    bool GenerateMesh(CPDMesh* target) override;

private:
    friend CNodeDeclaration DeclareNode<CFacetteNode>();

    CPortMesh* m_meshIn = nullptr;
    CPortFloat* m_smoothness = nullptr;
};
