#pragma once

#include "expression/expressioncontext.h"
#include "nodes/support/composedeffect.h"
#include "render/fx.h"
#include "scene/node.h"
#include "scene/pdeffect.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>

class CPortBool;
class CPortColor;
class CPortEffect;
class CPortInt;
class CPortString;
class CPortTexture;
class CPortVector;
class CTexture;

// An effect typed by the scene's author: the fragment in the Shader port
// holds VS_Program, PS_Program and whatever they need; the node writes the
// declarations the fragment uses, the samplers of connected textures and a
// default technique around it, and publishes the compiled effect.
class CShaderNode : public CNode, public CPDComposedEffect
{
public:
    CShaderNode();
    ~CShaderNode() override;
    bool Init() override;
    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;

    CFxPass* Begin() override;

    bool HasTechnique() const { return m_compiled.Technique() != nullptr; }
    // The whole text handed to the compiler at the last RestoreDevice.
    const std::string& GetComposedText() const { return m_compiled.ComposedText(); }

    static constexpr int NumTextures = 3;

private:
    friend CNodeDeclaration DeclareNode<CShaderNode>();


    CPortBool* m_depthTest = nullptr;
    CPortBool* m_depthWrite = nullptr;
    CPortInt* m_srcBlend = nullptr;
    CPortInt* m_dstBlend = nullptr;
    CPortInt* m_cullMode = nullptr;
    std::array<CPortVector*, 3> m_vectorPorts{};
    std::array<CPortColor*, 2> m_colorPorts{};
    CPortString* m_shader = nullptr;
    CPortInt* m_randomSeed = nullptr;
    CPortString* m_expression = nullptr;
    std::array<CPortTexture*, NumTextures> m_texturePorts{};
    CPortEffect* m_effect = nullptr;

    float m_frame = 0.0f;
    float m_time = 0.0f;
    // The text written around the fragment, the same for every node of the type.
    static const SEffectDialect& Dialect();
    uint32_t m_setMask = 0;
    uint32_t m_clearMask = 0;

    CExpressionContext m_expressionContext;
    // The expression's variables, bound by address in this order.
    enum EVariable
    {
        V_In1X, V_In1Y, V_In1Z, V_In2X, V_In2Y, V_In2Z, V_In3X, V_In3Y, V_In3Z,
        V_Col1R, V_Col1G, V_Col1B, V_Col1A, V_Col2R, V_Col2G, V_Col2B, V_Col2A,
        V_Time, V_SceneTime, V_DeltaTime, V_Aspect, V_Perm, V_PermRand, V_Count
    };
    std::array<double, V_Count> m_variables{};

    float m_in[3][3] = {};
    float m_colors[2][4] = {};

    // Parameter handles, empty for names the composed text lacks.
    enum EParam
    {
        P_ZNear, P_ZFar, P_Time, P_FrameNr, P_In1, P_In2, P_In3, P_Color, P_Color1, P_Color2,
        P_Tex1Size, P_Tex2Size, P_Tex3Size, P_Tex1, P_Tex2, P_Tex3, P_TargetSize,
        P_Count
    };
};
