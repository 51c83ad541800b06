#pragma once

#include "render/renderquads.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include <array>

class CPortBool;
class CPortColor;
class CPortEffect;
class CPortFloat;
class CPortObject;
class CPortVector;

// A ball between two paddles that follow it on their own: no score, no end.
class CPingPongNode : public CNode, public CPDObject
{
public:
    static constexpr float PaddleSpeed = 0.2f;

    // Position, velocity and half size in the field centred on the origin.
    struct SPiece
    {
        float x = 0.0f, y = 0.0f;
        float vx = 0.0f, vy = 0.0f;
        std::array<float, 3> size{};
        std::array<float, 4> color{};
    };

    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

    const SPiece& GetBall() const { return m_ball; }
    const SPiece& GetPaddle(int i) const { return i == 0 ? m_paddle1 : m_paddle2; }
    float GetFieldWidth() const { return m_fieldWidth; }
    float GetFieldHeight() const { return m_fieldHeight; }
    const CRenderQuads& GetQuads() const { return m_quads; }

private:
    friend CNodeDeclaration DeclareNode<CPingPongNode>();

    void Reset(bool adjustChanged, float aspect);
    void Follow(SPiece& paddle, float dt) const;
    void MoveBall(float dt);

    CPortEffect* m_effect = nullptr;
    CPortFloat* m_width = nullptr;
    CPortFloat* m_height = nullptr;
    CPortColor* m_ballCol = nullptr;
    CPortColor* m_paddle1Col = nullptr;
    CPortColor* m_paddle2Col = nullptr;
    CPortVector* m_ballSize = nullptr;
    CPortVector* m_paddle1Size = nullptr;
    CPortVector* m_paddle2Size = nullptr;
    CPortBool* m_adjustForAspect = nullptr;
    CPortObject* m_objectOut = nullptr;

    SPiece m_ball, m_paddle1, m_paddle2;
    float m_fieldWidth = 1.0f, m_fieldHeight = 1.0f;
    float m_lastAspect = 0.0f;
    CRenderQuads m_quads;
};
