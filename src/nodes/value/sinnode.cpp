#include "nodes/value/sinnode.h"

#include "scene/nodedeclaration.h"

#include <cmath>

template <>
CNodeDeclaration DeclareNode<CSinNode>()
{
    return {EEvaluation::EveryPull,
            {
                In(&CSinNode::m_min, "Min", "Bottom of the wave", {0.0f, 0.01f, -10000.0f, 10000.0f}),
                In(&CSinNode::m_max, "Max", "Top of the wave", {1.0f, 0.01f, -10000.0f, 10000.0f}),
                In(&CSinNode::m_offset, "Offset", "Shift of the wave, in cycles", {0.0f, 0.01f, -10000.0f, 10000.0f}),
                In(&CSinNode::m_frequency, "Frequency", "Cycles per unit of time", {1.0f, 0.01f, 1e-06f, 10000.0f}),
                Out(&CSinNode::m_value, "Value", "The wave", {0.0f, 0.01f, 0.0f, 1.0f}),
            }};
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
