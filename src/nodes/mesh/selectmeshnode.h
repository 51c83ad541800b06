#pragma once

#include "app/random.h"
#include "nodes/support/meshgenerator.h"

#include <vector>

class CPortBool;
class CPortFloat;
class CPortInt;
class CPortMesh;
class CPortVector;

// Marks vertices or faces inside a box or ball, or by their earlier
// selection, for the modifiers after it to work on.
class CSelectMeshNode : public CMeshGeneratorNode
{
public:
    bool GenerateMesh(CPDMesh* target) override;

private:
    friend CNodeDeclaration DeclareNode<CSelectMeshNode>();

    CPortMesh* m_meshIn = nullptr;
    CPortInt* m_selectionType = nullptr;
    CPortVector* m_pos = nullptr;
    CPortVector* m_rot = nullptr;
    CPortVector* m_scale = nullptr;
    CPortInt* m_logic = nullptr;
    CPortBool* m_invert = nullptr;
    CPortInt* m_output = nullptr;
    CPortFloat* m_randomFactor = nullptr;
    CPortInt* m_randomSeed = nullptr;
    CRandom m_random;
    // Per vertex how much it lies in the selection, kept between runs.
    std::vector<float> m_weights;
};
