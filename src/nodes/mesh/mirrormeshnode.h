#pragma once

#include "nodes/support/meshgenerator.h"

class CPortBool;
class CPortInt;
class CPortMesh;

// Mirrors the chosen vertices in the chosen axes; an odd number of axes
// turns the chosen faces so that they still face outwards.
class CMirrorMeshNode : public CMeshGeneratorNode
{
public:
    bool GenerateMesh(CPDMesh* target) override;

private:
    friend CNodeDeclaration DeclareNode<CMirrorMeshNode>();

    CPortMesh* m_meshIn = nullptr;
    CPortBool* m_mirrorX = nullptr;
    CPortBool* m_mirrorY = nullptr;
    CPortBool* m_mirrorZ = nullptr;
    CPortInt* m_selection = nullptr;
    CPortBool* m_recalcNormals = nullptr;
    CPortBool* m_recalcTangents = nullptr;
};
