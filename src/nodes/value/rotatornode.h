#pragma once

#include "scene/node.h"

class CPortFloat;

// Three angles in degrees that turn at a speed given in rotations a minute.
// Evaluated on every pull, and each pull adds a frame's turn: read along a
// "(Local)" port it advances once per element.
class CRotatorNode : public CNode
{
public:
    bool Init() override;
    void Update(float time, CSceneContext* context) override;

private:
    CPortFloat* m_start[3] = {};
    CPortFloat* m_speed[3] = {};
    CPortFloat* m_rot[3] = {};
    float m_angle[3] = {};
};
