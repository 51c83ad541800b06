#pragma once

#include "expression/expressioncontext.h"
#include "nodes/support/placement.h"
#include "render/renderquads.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include <array>
#include <vector>

class CPortBool;
class CPortEffect;
class CPortFloat;
class CPortInt;
class CPortObject;
class CPortString;

// Draws a connected object (or a unit square) once for each point of a grid,
// each copy placed, turned, scaled and coloured by an expression.
class CCloneExpressionNode : public CNode, public CPDObject
{
public:
    bool Init() override;
    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

    int GetCount() const { return m_count; }
    const CMatrix& GetWorld(int clone) const { return m_worlds[size_t(clone)]; }
    const SColor4& GetColor(int clone) const { return m_colors[size_t(clone)]; }
    const CRenderQuads& GetSquares() const { return m_squares; }

private:
    friend CNodeDeclaration DeclareNode<CCloneExpressionNode>();

    void FillSquares();

    std::array<CPortInt*, 3> m_numObjects{};
    CPortBool* m_adjustForAspect = nullptr;
    CPortBool* m_center = nullptr;
    std::array<CPortFloat*, 5> m_inputs{};
    CPortInt* m_randomSeed = nullptr;
    CPortString* m_expression = nullptr;
    CPortEffect* m_effect = nullptr;
    CPortObject* m_objectIn = nullptr;
    CPortObject* m_objectOut = nullptr;

    CExpressionContext m_expressionContext;
    enum EVariable
    {
        V_In1, V_In2, V_In3, V_In4, V_In5, V_X, V_Y, V_Z, V_NumX, V_NumY, V_NumZ, V_Aspect, V_Time,
        V_PosX, V_PosY, V_PosZ, V_RotX, V_RotY, V_RotZ, V_ScaleX, V_ScaleY, V_ScaleZ,
        V_ColR, V_ColG, V_ColB, V_ColA, V_Count
    };
    std::array<double, V_Count> m_variables{};

    // Grow to the grid's size and never shrink.
    std::vector<CMatrix> m_worlds;
    std::vector<SColor4> m_colors;
    int m_count = 0;
    // The unit square of each clone when no object is connected.
    CRenderQuads m_squares;
};
