#include "nodes/value/signalgeneratornode.h"

#include "expression/simplexnoise.h"
#include "scene/nodedeclaration.h"

#include <cmath>

namespace {

constexpr float TwoPi = 6.2831855f;

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
    return {EEvaluation::EveryPull,
            {
                In(&CSignalGeneratorNode::m_waveformType, "WaveformType", "The wave",
                   {0, 0, 5, {{0, "Sine"}, {1, "Square"}, {2, "Triangle"}, {3, "Sawtooth"}, {4, "Random"}}}),
                In(&CSignalGeneratorNode::m_frequency, "Frequency", "Cycles per unit of time",
                   {1.0f, 0.01f, 1e-06f, 10000.0f}),
                In(&CSignalGeneratorNode::m_phase, "Phase", "Added to the time axis, in cycles",
                   {0.0f, 0.01f, -10000.0f, 10000.0f}),
                In(&CSignalGeneratorNode::m_offset, "Offset", "Added last", {0.0f, 0.01f, -10000.0f, 10000.0f}),
                In(&CSignalGeneratorNode::m_amplitude, "Amplitude", "Factor on the wave",
                   {1.0f, 0.01f, -10000.0f, 10000.0f}),
                In(&CSignalGeneratorNode::m_invert, "Invert", "Negates the wave after amplitude", false),
                Out(&CSignalGeneratorNode::m_value, "Value", "The wave", {0.0f, 0.01f, 0.0f, 1.0f}),
            }};
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
