#pragma once

#include "nodes/support/meshgenerator.h"

class CPortFloat;
class CPortInt;
class CPortMesh;

// Removes the chosen faces; the vertices stay.
class CDeleteFacesNode : public CMeshGeneratorNode
{
public:
    bool GenerateMesh(CPDMesh* target) override;

private:
    friend CNodeDeclaration DeclareNode<CDeleteFacesNode>();

    CPortMesh* m_meshIn = nullptr;
    CPortInt* m_selection = nullptr;
};
