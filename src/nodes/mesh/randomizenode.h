#pragma once

#include "app/random.h"
#include "nodes/support/meshgenerator.h"

class CPortFloat;
class CPortInt;
class CPortMesh;

// Moves the chosen vertices by a random distance, the same on every run with
// the same seed; coincident vertices move together.
class CRandomizeNode : public CMeshGeneratorNode
{
public:
    bool GenerateMesh(CPDMesh* target) override;

private:
    friend CNodeDeclaration DeclareNode<CRandomizeNode>();

    CPortMesh* m_meshIn = nullptr;
    CPortInt* m_selection = nullptr;
    CPortInt* m_direction = nullptr;
    CPortFloat* m_amount = nullptr;
    CPortInt* m_randomSeed = nullptr;
    CRandom m_random;
};
