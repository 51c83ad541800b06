#pragma once

#include "nodes/support/meshgenerator.h"

class CPortFloat;
class CPortInt;
class CPortMesh;

// Moves the mesh so that its bounding box is centred on the origin.
class CCenterMeshNode : public CMeshGeneratorNode
{
public:
    bool GenerateMesh(CPDMesh* target) override;

private:
    friend CNodeDeclaration DeclareNode<CCenterMeshNode>();

    CPortMesh* m_meshIn = nullptr;
};
