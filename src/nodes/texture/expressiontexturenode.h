#pragma once

#include "expression/expressioncontext.h"
#include "scene/node.h"
#include "scene/pdtexture.h"

#include <array>
#include <string>

class CPortFloat;
class CPortInt;
class CPortString;
class CPortTexture;

// A texture whose every texel is the result of an expression on its
// position, filled again only when an input changes.
class CExpressionTextureNode : public CNode, public CPDTexture
{
public:
    bool Init() override;
    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;

private:
    friend CNodeDeclaration DeclareNode<CExpressionTextureNode>();

    CPortInt* m_width = nullptr;
    CPortInt* m_height = nullptr;
    CPortInt* m_depth = nullptr;
    std::array<CPortFloat*, 5> m_inputs{};
    CPortInt* m_randomSeed = nullptr;
    CPortString* m_expression = nullptr;
    CPortTexture* m_texture = nullptr;

    CExpressionContext m_expressionContext;
    // The expression's variables, bound by address in this order.
    enum EVariable
    {
        V_X, V_Y, V_Z, V_Width, V_Height, V_Depth, V_Perm, V_PermRand,
        V_In1, V_In2, V_In3, V_In4, V_In5, V_Time, V_R, V_G, V_B, V_A, V_Count
    };
    std::array<double, V_Count> m_variables{};
};
