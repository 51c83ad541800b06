#pragma once

#include "nodes/support/meshgenerator.h"

class CPortInt;
class CPortMesh;
class CPortVector;

// Copies of the input mesh in a row, each moved, turned and scaled one step
// further than the one before.
class CCloneMeshNode : public CMeshGeneratorNode
{
public:
    bool GenerateMesh(CPDMesh* target) override;

private:
    friend CNodeDeclaration DeclareNode<CCloneMeshNode>();

    CPortInt* m_numClones = nullptr;
    CPortVector* m_posChange = nullptr;
    CPortVector* m_rotChange = nullptr;
    CPortVector* m_scaleChange = nullptr;
    CPortMesh* m_meshIn = nullptr;
    // The input, generated once and appended per clone.
    CPDMesh m_input;
};
