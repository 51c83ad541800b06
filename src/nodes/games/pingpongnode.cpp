#include "nodes/games/pingpongnode.h"

#include "nodes/support/playfield.h"
#include "ports/types/dataports.h"
#include "render/rendertypes.h"
#include "scene/nodedeclaration.h"
#include "scene/scenecontext.h"

#include <algorithm>
#include <cmath>

namespace {

// Sizes are fine in the plane and coarser in depth.
SVectorValues SizeValues()
{
    SVectorValues values({0.01f, 0.01f, 0.01f}, 0.001f, 10000.0f);
    values.step[2] = 0.01f;
    return values;
}

SQuad PieceQuad(const CPingPongNode::SPiece& piece)
{
    const auto& c = piece.color;
    const uint32_t color = PackColor(c[0], c[1], c[2], c[3]);
    const float sx = piece.size[0], sy = piece.size[1];
    const auto vertex = [&](float x, float y, float u, float v) {
        return SVertexPNTBTC{{x, y, 0.0f}, color, {u, v}, {0, 0, -1}, {1, 0, 0}, {0, -1, 0}, 0};
    };
    return SQuad{{vertex(piece.x - sx, piece.y + sy, 0, 0), vertex(piece.x - sx, piece.y - sy, 0, 1),
                  vertex(piece.x + sx, piece.y + sy, 1, 0), vertex(piece.x + sx, piece.y - sy, 1, 1)}};
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CPingPongNode>()
{
    using C = CPingPongNode;
    return {
        In(&C::m_effect, "Effect", "Effect"),
        In(&C::m_width, "Width", "Width of playing field", {1.0f, 0.01f, 0.0001f, 100000.0f}),
        In(&C::m_height, "Height", "Height of playing field", {1.0f, 0.01f, 0.0001f, 100000.0f}),
        In(&C::m_ballCol, "BallCol", "Color of the ball", {{1.0f, 1.0f, 1.0f, 1.0f}}),
        In(&C::m_paddle1Col, "Paddle1Col", "Color of paddle 1", {{1.0f, 1.0f, 1.0f, 1.0f}}),
        In(&C::m_paddle2Col, "Paddle2Col", "Color of paddle 2", {{1.0f, 1.0f, 1.0f, 1.0f}}),
        In(&C::m_ballSize, "BallSize", "Size of the ball", SizeValues()),
        In(&C::m_paddle1Size, "Paddle1Size", "Size of paddle 1", SizeValues()),
        In(&C::m_paddle2Size, "Paddle2Size", "Size of paddle 2", SizeValues()),
        In(&C::m_adjustForAspect, "AdjustForAspect", "Adjust the width and height depending on the screen aspect",
           true),
        Out(&C::m_objectOut, "Object", "Object"),
    };
}

void CPingPongNode::Reset(bool adjustChanged, float aspect)
{
    m_paddle1.x = -m_fieldWidth * 0.5f;
    m_paddle2.x = m_fieldWidth * 0.5f;
    m_paddle1.y = m_paddle2.y = 0.0f;
    m_ball.x = m_ball.y = 0.0f;
    m_ball.vx = m_ball.vy = 0.2f;
    // Switching the adjustment on keeps the ball's crossing time in step
    // with the stretched field.
    if (adjustChanged) {
        if (aspect > 1.0f)
            m_ball.vx *= aspect;
        else if (aspect > 0.0f)
            m_ball.vy = 0.2f / aspect;
    }
}

void CPingPongNode::Follow(SPiece& paddle, float dt) const
{
    // Full speed while the ball comes at the paddle, half while it leaves.
    const float factor = paddle.x * m_ball.vx + paddle.y * m_ball.vy > 0.0f ? 1.0f : 0.5f;
    const float step = PaddleSpeed * dt * factor;
    const float gap = m_ball.y - paddle.y;
    // Stopping on the ball's height keeps the paddle from jittering about it.
    paddle.y += std::clamp(gap, -step, step);
}

void CPingPongNode::MoveBall(float dt)
{
    const float halfHeight = m_fieldHeight * 0.5f;
    if ((m_ball.y > halfHeight && m_ball.vy > 0.0f) || (m_ball.y < -halfHeight && m_ball.vy < 0.0f))
        m_ball.vy = -m_ball.vy;
    // The ball turns at the paddles' line whether or not a paddle is there.
    const float ballWidth = m_ball.size[0];
    if ((m_ball.x - ballWidth < m_paddle1.x + m_paddle1.size[0] && m_ball.vx < 0.0f) ||
        (m_paddle2.x - m_paddle2.size[0] < m_ball.x + ballWidth && m_ball.vx > 0.0f))
        m_ball.vx = -m_ball.vx;
    m_ball.x += m_ball.vx * dt;
    m_ball.y += m_ball.vy * dt;
}

void CPingPongNode::Update(float time, CSceneContext* context)
{
    m_objectOut->m_value = this;
    UpdateInPorts(time);
    m_ball.color = m_ballCol->m_value;
    m_paddle1.color = m_paddle1Col->m_value;
    m_paddle2.color = m_paddle2Col->m_value;
    m_ball.size = m_ballSize->m_value;
    m_paddle1.size = m_paddle1Size->m_value;
    m_paddle2.size = m_paddle2Size->m_value;
    const float aspect = context ? context->m_aspect : 1.0f;
    const SFieldSize field =
        AdjustForAspect(m_width->m_value, m_height->m_value, m_adjustForAspect->m_value, aspect);
    m_fieldWidth = field.width;
    m_fieldHeight = field.height;
    if (aspect != m_lastAspect || m_width->m_changed || m_height->m_changed || m_adjustForAspect->m_changed) {
        m_lastAspect = aspect;
        Reset(m_adjustForAspect->m_changed, aspect);
    }

    const float dt = context ? context->m_deltaTime : 0.0f;
    Follow(m_paddle1, dt);
    Follow(m_paddle2, dt);
    MoveBall(dt);

    m_quads.Resize(3);
    SQuad* quads = m_quads.GetQuads();
    quads[0] = PieceQuad(m_ball);
    quads[1] = PieceQuad(m_paddle1);
    quads[2] = PieceQuad(m_paddle2);
}

bool CPingPongNode::RestoreDevice(CRender* render)
{
    return m_quads.RestoreDevice(render);
}

void CPingPongNode::InvalidateDevice(CRender* render)
{
    m_quads.InvalidateDevice(render);
}

void CPingPongNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    m_quads.AddToRenderList(list, parents, camera, m_effect->m_value);
}
