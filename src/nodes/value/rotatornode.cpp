#include "nodes/value/rotatornode.h"

#include "ports/types/portfloat.h"
#include "scene/nodedeclaration.h"
#include "scene/nodeinfo.h"
#include "scene/scenecontext.h"

#include <cmath>
#include <string>

namespace {

constexpr const char* Axes[] = {"X", "Y", "Z"};

std::unique_ptr<CNodeInfo> DeclareRotatorNode()
{
    auto info =
        std::make_unique<CNodeInfo>(NG_Values, "Rotator", [] { return static_cast<CNode*>(new CRotatorNode); });
    info->m_desc = "Computes rotation values";
    for (const char* axis : Axes) {
        info->AddInPort(std::make_unique<CPortFloat>(std::string("StartRot") + axis,
                                                     "Added to the angle, in degrees", 0.0f, 1.0f, -1000.0f, 1000.0f));
    }
    const float speeds[] = {0.1f, 0.5f, 0.25f};
    for (int i = 0; i < 3; ++i) {
        info->AddInPort(std::make_unique<CPortFloat>(std::string("RotSpeed") + Axes[i], "Rotations a minute",
                                                     speeds[i], 1.0f, -1000.0f, 1000.0f));
    }
    for (const char* axis : Axes) {
        info->AddOutPort(
            std::make_unique<CPortFloat>(std::string("Rot") + axis, "Angle in degrees", 0.0f, 0.01f, 0.0f, 1.0f));
    }
    return info;
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CRotatorNode>()
{
    return CNodeDeclaration(DeclareRotatorNode());
}

bool CRotatorNode::Init()
{
    m_updateOnce = false;
    bool found = true;
    for (int i = 0; i < 3; ++i) {
        found &= (m_start[i] = GetInPort<CPortFloat>(std::string("StartRot") + Axes[i])) != nullptr;
        found &= (m_speed[i] = GetInPort<CPortFloat>(std::string("RotSpeed") + Axes[i])) != nullptr;
        found &= (m_rot[i] = GetOutPort<CPortFloat>(std::string("Rot") + Axes[i])) != nullptr;
    }
    return found;
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
