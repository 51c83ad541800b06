#pragma once

#include "nodes/support/meshgenerator.h"

class CPortFloat;
class CPortInt;
class CPortMesh;

// Turns the chosen faces inside out and negates the chosen normals.
class CInvertMeshNode : public CMeshGeneratorNode
{
public:
    bool GenerateMesh(CPDMesh* target) override;

private:
    friend CNodeDeclaration DeclareNode<CInvertMeshNode>();

    CPortMesh* m_meshIn = nullptr;
    CPortInt* m_selection = nullptr;
};
