#pragma once

#include "nodes/support/meshgenerator.h"

class CPortFloat;
class CPortInt;
class CPortMesh;

// Merges vertices closer than Epsilon and recomputes the normals.
class CWeldNode : public CMeshGeneratorNode
{
public:
    bool GenerateMesh(CPDMesh* target) override;

private:
    friend CNodeDeclaration DeclareNode<CWeldNode>();

    CPortMesh* m_meshIn = nullptr;
    CPortFloat* m_epsilon = nullptr;
};
