#include "nodes/value/signalgeneratornode.h"

#include "expression/simplexnoise.h"
#include "ports/types/portbool.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "scene/nodedeclaration.h"
#include "scene/nodeinfo.h"

#include <cmath>

namespace {

constexpr float TwoPi = 6.2831855f;

std::unique_ptr<CNodeInfo> DeclareSignalGeneratorNode()
{
    auto info = std::make_unique<CNodeInfo>(NG_Values, "SignalGenerator",
                                            [] { return static_cast<CNode*>(new CSignalGeneratorNode); });
    info->m_desc = "Creates a wave form value of various types including sin, square, triangle, saw tooth and random. "
                   "Generated values range from -1 to 1. Change the offset and amplitude to change this";
    auto* type = info->AddInPort(std::make_unique<CPortInt>("WaveformType", "The wave", 0, 0, 5));
    type->AddValue(0, "Sine");
    type->AddValue(1, "Square");
    type->AddValue(2, "Triangle");
    type->AddValue(3, "Sawtooth");
    type->AddValue(4, "Random");
    info->AddInPort(std::make_unique<CPortFloat>("Frequency", "Cycles per unit of time", 1.0f, 0.01f, 1e-06f,
                                                 10000.0f));
    info->AddInPort(std::make_unique<CPortFloat>("Phase", "Added to the time axis, in cycles", 0.0f, 0.01f,
                                                 -10000.0f, 10000.0f));
    info->AddInPort(std::make_unique<CPortFloat>("Offset", "Added last", 0.0f, 0.01f, -10000.0f, 10000.0f));
    info->AddInPort(std::make_unique<CPortFloat>("Amplitude", "Factor on the wave", 1.0f, 0.01f, -10000.0f,
                                                 10000.0f));
    info->AddInPort(std::make_unique<CPortBool>("Invert", "Negates the wave after amplitude", false));
    info->AddOutPort(std::make_unique<CPortFloat>("Value", "The wave", 0.0f, 0.01f, 0.0f, 1.0f));
    return info;
}

enum class EWaveform : int { Sine = 0, Square = 1, Triangle = 2, Sawtooth = 3, Random = 4 };

// The wave at x cycles, from -1 to 1.
float Wave(int type, float x)
{
    switch (static_cast<EWaveform>(type)) {
    case EWaveform::Sine: return std::sin(x * TwoPi);
    // Where sin is exactly 0 the square is at its low side.
    case EWaveform::Square: return std::sin(x * TwoPi) > 0.0f ? 1.0f : -1.0f;
    case EWaveform::Triangle: {
        // Peaks at a quarter cycle; halves round up, so the trough at three
        // quarters is exactly -1.
        const float y = x - 0.25f;
        const float r = std::floor(y + 0.5f);
        return 1.0f - 4.0f * std::fabs(r - y);
    }
    case EWaveform::Sawtooth: return (x - std::floor(x + 0.5f)) * 2.0f;
    case EWaveform::Random: return SimplexNoise1(x);
    }
    return 0.0f;
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CSignalGeneratorNode>()
{
    return CNodeDeclaration(DeclareSignalGeneratorNode());
}

bool CSignalGeneratorNode::Init()
{
    m_updateOnce = false;
    m_waveformType = GetInPort<CPortInt>("WaveformType");
    m_frequency = GetInPort<CPortFloat>("Frequency");
    m_phase = GetInPort<CPortFloat>("Phase");
    m_offset = GetInPort<CPortFloat>("Offset");
    m_amplitude = GetInPort<CPortFloat>("Amplitude");
    m_invert = GetInPort<CPortBool>("Invert");
    m_value = GetOutPort<CPortFloat>("Value");
    return m_waveformType && m_frequency && m_phase && m_offset && m_amplitude && m_invert && m_value;
}

void CSignalGeneratorNode::Update(float time, CSceneContext*)
{
    UpdateInPorts(time);
    const float x = m_frequency->m_value * time + m_phase->m_value;
    float value = m_amplitude->m_value * Wave(m_waveformType->m_value, x);
    if (m_invert->m_value)
        value = -value;
    m_value->m_value = value + m_offset->m_value;
    m_value->m_changed = true;
}
