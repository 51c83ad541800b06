#include "nodes/value/minmaxnode.h"

#include "app/random.h"
#include "scene/nodedeclaration.h"
#include "scene/scenecontext.h"

#include <cmath>

namespace {

// The modes of choosing the next value.
constexpr int Stay = 0;
constexpr int Random = 1;
constexpr int RandomWrapping = 2;
constexpr int RisingRamp = 3;
constexpr int FallingRamp = 4;

} // namespace

template <>
CNodeDeclaration DeclareNode<CMinMaxNode>()
{
    return {
        In(&CMinMaxNode::m_min, "Min", "Lowest allowed value", {0.0f, 1.0f, -100000.0f, 100000.0f}),
        In(&CMinMaxNode::m_max, "Max", "Highest allowed value", {1.0f, 1.0f, -100000.0f, 100000.0f}),
        In(&CMinMaxNode::m_mode, "Mode", "How the next target value is chosen", {1, 0, 4}),
        In(&CMinMaxNode::m_delayMin, "DelayMin", "Lowest delay between two moves, seconds",
           {0.0f, 1.0f, 0.0f, 100000.0f}),
        In(&CMinMaxNode::m_delayMax, "DelayMax", "Highest delay between two moves, seconds",
           {0.0f, 1.0f, 0.0f, 100000.0f}),
        In(&CMinMaxNode::m_delayMode, "DelayMode", "How the next delay is chosen", {1, 0, 4}),
        In(&CMinMaxNode::m_iTimeMin, "ITimeMin", "Lowest interpolation time, seconds", {3.0f, 1.0f, 0.0f, 100000.0f}),
        In(&CMinMaxNode::m_iTimeMax, "ITimeMax", "Highest interpolation time, seconds", {20.0f, 1.0f, 0.0f, 100000.0f}),
        In(&CMinMaxNode::m_iTimeMode, "ITimeMode", "How the next interpolation time is chosen", {1, 0, 4}),
        Out(&CMinMaxNode::m_value, "Value", "The value", {0.0f, 0.01f, 0.0f, 1.0f}),
    };
}

float CMinMaxNode::Read(CPortFloat* port)
{
    port->Update(m_t);
    return port->m_value;
}

int CMinMaxNode::Read(CPortInt* port)
{
    port->Update(m_t);
    return port->m_value;
}

void CMinMaxNode::Choose(int mode, float min, float max, float& current, float& result)
{
    const float range = max - min;
    // fmod by a zero range has no meaning: everything collapses to the minimum.
    if (range == 0.0f) {
        current = min;
        result = min;
        return;
    }
    current = std::fmod(current - min, range) + min;
    constexpr float Tolerance = 0.01f;
    switch (mode) {
    case Stay: result = current; break;
    case Random: result = g_random.NextUnit() * range + min; break;
    // The target may lie outside the range; the output wraps it back in.
    case RandomWrapping: result = g_random.NextUnit() * range * 2.0f - range * 0.5f + min; break;
    case RisingRamp:
        if (std::fabs(current - max) < Tolerance)
            current = min;
        result = max;
        break;
    case FallingRamp:
        if (std::fabs(current - min) < Tolerance)
            current = max;
        result = min;
        break;
    default: break;
    }
}

float CMinMaxNode::Output()
{
    if (m_phase == EPhase::Waiting)
        return m_start;
    if (m_iTime <= 0.001f)
        return m_target;
    const float u = m_t / m_iTime;
    if (u >= 0.99999f)
        return m_target;

    const int mode = Read(m_mode);
    if (mode == RisingRamp || mode == FallingRamp)
        return m_start + (m_target - m_start) * u;
    const float s = 3.0f * u * u - 2.0f * u * u * u;
    float v = m_start * (1.0f - s) + m_target * s;
    if (mode == RandomWrapping) {
        const float min = Read(m_min);
        const float range = Read(m_max) - min;
        if (range != 0.0f)
            v = std::fmod(v - min + range, range) + min;
    }
    return v;
}

void CMinMaxNode::Update(float, CSceneContext* context)
{
    m_t += context ? context->m_deltaTime : 0.0f;
    bool choose = false;

    if (m_phase == EPhase::Interpolating && m_t >= m_iTime) {
        Choose(Read(m_delayMode), Read(m_delayMin), Read(m_delayMax), m_delay, m_delay);
        if (m_delay > 1e-05f) {
            m_phase = EPhase::Waiting;
            m_start = m_target;
            m_t = 0.0f;
        } else {
            // No wait: the next move starts where this one overran, by whole
            // moves taken off down to (0, I], counted rather than looped.
            if (m_t > m_iTime && m_iTime > 1e-05f)
                m_t -= (std::ceil(m_t / m_iTime) - 1.0f) * m_iTime;
            m_start = m_target;
            choose = true;
        }
    }
    if (m_phase == EPhase::Waiting && m_t >= m_delay) {
        m_phase = EPhase::Interpolating;
        choose = true;
        m_t = 0.0f;
    }
    if (choose) {
        Choose(Read(m_mode), Read(m_min), Read(m_max), m_start, m_target);
        // The first target shows at once, not after a glide from 0.
        if (m_firstMove) {
            m_iTime = 0.0f;
        } else {
            Choose(Read(m_iTimeMode), Read(m_iTimeMin), Read(m_iTimeMax), m_previousITime, m_iTime);
            m_previousITime = m_iTime;
        }
        m_firstMove = false;
    }

    const float v = Output();
    const float min = Read(m_min);
    const float max = Read(m_max);
    m_value->m_value = v <= min ? min : v >= max ? max : v;
    m_value->m_changed = true;
}
