#include "nodes/value/sinnode.h"

#include "ports/types/portfloat.h"
#include "scene/nodedeclaration.h"
#include "scene/nodeinfo.h"

#include <cmath>

namespace {

std::unique_ptr<CNodeInfo> DeclareSinNode()
{
    auto info = std::make_unique<CNodeInfo>(NG_Values, "Sin", [] { return static_cast<CNode*>(new CSinNode); });
    info->m_desc = "Sin math function. NOTE: This node is depricated. Use SignalGenerator instead";
    info->AddInPort(std::make_unique<CPortFloat>("Min", "Bottom of the wave", 0.0f, 0.01f, -10000.0f, 10000.0f));
    info->AddInPort(std::make_unique<CPortFloat>("Max", "Top of the wave", 1.0f, 0.01f, -10000.0f, 10000.0f));
    info->AddInPort(std::make_unique<CPortFloat>("Offset", "Shift of the wave, in cycles", 0.0f, 0.01f, -10000.0f,
                                                 10000.0f));
    info->AddInPort(std::make_unique<CPortFloat>("Frequency", "Cycles per unit of time", 1.0f, 0.01f, 1e-06f,
                                                 10000.0f));
    info->AddOutPort(std::make_unique<CPortFloat>("Value", "The wave", 0.0f, 0.01f, 0.0f, 1.0f));
    return info;
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CSinNode>()
{
    return CNodeDeclaration(DeclareSinNode());
}

bool CSinNode::Init()
{
    m_updateOnce = false;
    m_min = GetInPort<CPortFloat>("Min");
    m_max = GetInPort<CPortFloat>("Max");
    m_offset = GetInPort<CPortFloat>("Offset");
    m_frequency = GetInPort<CPortFloat>("Frequency");
    m_value = GetOutPort<CPortFloat>("Value");
    return m_min && m_max && m_offset && m_frequency && m_value;
}

void CSinNode::Update(float time, CSceneContext*)
{
    UpdateInPorts(time);
    const float min = m_min->m_value;
    const float max = m_max->m_value;
    const float period = 1.0f / m_frequency->m_value;

    // u is brought into one period; where float rounding leaves it above,
    // the wave shows its bottom.
    float u = m_offset->m_value * period + time;
    if (u > period)
        u -= std::floor(u / period) * period;
    if (u < 0.0f)
        u += std::floor((period - u) / period) * period;
    if (u > period)
        m_value->m_value = min;
    else
        m_value->m_value = (std::sin(u / period * 6.2831855f - 1.5707964f) + 1.0f) * 0.5f * (max - min) + min;
    m_value->m_changed = true;
}
