#include "nodes/value/beatnode.h"

#include "scene/nodedeclaration.h"
#include "sound/soundanalyzer.h"

#include <algorithm>

template <>
CNodeDeclaration DeclareNode<CBeatNode>()
{
    return {
        In(&CBeatNode::m_noMusic, "NoMusic", "Output while there is no music", {1.0f, 0.1f, -10000.0f, 10000.0f}),
        In(&CBeatNode::m_amplification, "Amplification", "Factor on the beat value", {1.0f, 0.01f, 0.0f, 10000.0f}),
        In(&CBeatNode::m_min, "Min", "Output at beat 0", {0.0f, 0.01f, -10000.0f, 10000.0f}),
        In(&CBeatNode::m_max, "Max", "Output at beat 1, and its ceiling", {1.0f, 0.01f, -10000.0f, 10000.0f}),
        Out(&CBeatNode::m_beatStrength, "BeatStrength", "The beat, from Min to Max", {0.0f, 0.01f, 0.0f, 1.0f}),
    };
}

void CBeatNode::Update(float time, CSceneContext*)
{
    UpdateInPorts(time);
    if (g_soundAnalyzer && g_soundAnalyzer->IsMusicActive()) {
        const float beat = g_soundAnalyzer->GetBeat() * m_amplification->m_value;
        const float min = m_min->m_value;
        const float max = m_max->m_value;
        const float strength = min + (max - min) * beat;
        // Capped at the larger end only: a loud beat must not overshoot, and
        // with Min above Max the value falls as the beat rises.
        m_beatStrength->m_value = std::min(strength, std::max(min, max));
    } else {
        m_beatStrength->m_value = m_noMusic->m_value;
    }
    m_beatStrength->m_changed = true;
}
