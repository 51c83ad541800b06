#pragma once

#include "scene/node.h"

#include <array>

class CPortFloat;

// Three angles in degrees that turn at a speed given in rotations a minute.
// Evaluated on every pull, and each pull adds a frame's turn: read along a
// "(Local)" port it advances once per element.
class CRotatorNode : public CNode
{
public:
    void Update(float time, CSceneContext* context) override;

private:
    friend CNodeDeclaration DeclareNode<CRotatorNode>();

    std::array<CPortFloat*, 3> m_start{};
    std::array<CPortFloat*, 3> m_speed{};
    std::array<CPortFloat*, 3> m_rot{};
    float m_angle[3] = {};
};
