#pragma once

#include "expression/expressioncontext.h"
#include "nodes/support/meshgenerator.h"

#include <array>

class CPortFloat;
class CPortInt;
class CPortMesh;
class CPortString;

// A grid of copies of the input mesh, each placed by an expression of its
// grid position.
class CCloneMeshExpressionNode : public CMeshGeneratorNode
{
public:
    bool Init() override;
    bool GenerateMesh(CPDMesh* target) override;

private:
    friend CNodeDeclaration DeclareNode<CCloneMeshExpressionNode>();

    enum EVariable
    {
        V_X,
        V_Y,
        V_Z,
        V_NumX,
        V_NumY,
        V_NumZ,
        V_In1,
        V_PosX = V_In1 + 5,
        V_PosY,
        V_PosZ,
        V_RotX,
        V_RotY,
        V_RotZ,
        V_ScaleX,
        V_ScaleY,
        V_ScaleZ,
        V_Count
    };

    CPortInt* m_numObjectsX = nullptr;
    CPortInt* m_numObjectsY = nullptr;
    CPortInt* m_numObjectsZ = nullptr;
    std::array<CPortFloat*, 5> m_inputs{};
    CPortInt* m_randomSeed = nullptr;
    CPortString* m_expression = nullptr;
    CPortMesh* m_meshIn = nullptr;
    CPDMesh m_input;
    std::array<double, V_Count> m_variables{};
    CExpressionContext m_context;
};
