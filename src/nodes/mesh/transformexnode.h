#pragma once

#include "nodes/support/meshgenerator.h"

class CPortInt;
class CPortMesh;
class CPortVector;

// Transforms one vertex component (position, normal, tangent, uv or colour)
// of the chosen vertices and writes the result into another.
class CTransformExNode : public CMeshGeneratorNode
{
public:
    bool GenerateMesh(CPDMesh* target) override;

private:
    friend CNodeDeclaration DeclareNode<CTransformExNode>();

    CPortVector* m_pos = nullptr;
    CPortVector* m_rot = nullptr;
    CPortVector* m_scale = nullptr;
    CPortInt* m_selection = nullptr;
    CPortInt* m_inputComponent = nullptr;
    CPortInt* m_outputComponent = nullptr;
    CPortMesh* m_meshIn = nullptr;
};
