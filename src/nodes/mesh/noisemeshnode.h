#pragma once

#include "nodes/support/meshgenerator.h"

class CPortFloat;
class CPortInt;
class CPortMesh;
class CPortVector;

// Moves the vertices of its input mesh by octaves of simplex noise of their
// positions; coincident vertices move together, so the surface stays closed.
class CNoiseMeshNode : public CMeshGeneratorNode
{
public:
    bool GenerateMesh(CPDMesh* target) override;

private:
    friend CNodeDeclaration DeclareNode<CNoiseMeshNode>();

    CPortMesh* m_meshIn = nullptr;
    CPortInt* m_selection = nullptr;
    CPortVector* m_frequency = nullptr;
    CPortVector* m_amplify = nullptr;
    CPortInt* m_octaves = nullptr;
    CPortVector* m_offset = nullptr;
    CPortFloat* m_gain = nullptr;
};
