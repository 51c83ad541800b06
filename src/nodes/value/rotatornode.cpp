#include "nodes/value/rotatornode.h"

#include "ports/types/portfloat.h"
#include "scene/nodedeclaration.h"
#include "scene/scenecontext.h"

#include <cmath>

template <>
CNodeDeclaration DeclareNode<CRotatorNode>()
{
    return {EEvaluation::EveryPull,
            {
                InEach(&CRotatorNode::m_start, "StartRot", "XYZ", "Added to the angle, in degrees",
                       {0.0f, 1.0f, -1000.0f, 1000.0f}),
                In(&CRotatorNode::m_speed, 0, "RotSpeedX", "Rotations a minute", {0.1f, 1.0f, -1000.0f, 1000.0f}),
                In(&CRotatorNode::m_speed, 1, "RotSpeedY", "Rotations a minute", {0.5f, 1.0f, -1000.0f, 1000.0f}),
                In(&CRotatorNode::m_speed, 2, "RotSpeedZ", "Rotations a minute", {0.25f, 1.0f, -1000.0f, 1000.0f}),
                OutEach(&CRotatorNode::m_rot, "Rot", "XYZ", "Angle in degrees", {0.0f, 0.01f, 0.0f, 1.0f}),
            }};
}

void CRotatorNode::Update(float time, CSceneContext* context)
{
    UpdateInPorts(time);
    const float delta = context ? context->m_deltaTime : 0.0f;
    for (int i = 0; i < 3; ++i) {
        // Rotations a minute to degrees in this step.
        m_angle[i] = std::fmod(m_angle[i] + m_speed[i]->m_value * delta * 360.0f / 60.0f, 360.0f);
        m_rot[i]->m_value = std::fmod(m_start[i]->m_value + m_angle[i], 360.0f);
        m_rot[i]->m_changed = true;
    }
}
