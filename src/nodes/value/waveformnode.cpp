#include "nodes/value/waveformnode.h"

#include "ports/types/portfloat.h"
#include "scene/nodedeclaration.h"
#include "sound/soundanalyzer.h"

#include <cmath>

template <>
CNodeDeclaration DeclareNode<CWaveformNode>()
{
    return {EEvaluation::EveryPull,
            {
                Within(&CWaveformNode::m_ports, SChannelPorts::Ports()),
                Out(&CWaveformNode::m_avgLeft, "AvgLeftChannel", "The left channel's average value",
                    {0.0f, 0.01f, 0.0f, 1.0f}),
                Out(&CWaveformNode::m_avgRight, "AvgRightChannel", "The right channel's average value",
                    {0.0f, 0.01f, 0.0f, 1.0f}),
            }};
}

void CWaveformNode::UpdateAverages()
{
    const CSoundAnalyzer& analyzer = *g_soundAnalyzer;
    if (m_averagedAnalyzer == &analyzer && m_averagedBlock == analyzer.m_blocks)
        return;
    m_averagedAnalyzer = &analyzer;
    m_averagedBlock = analyzer.m_blocks;
    // The mean of the magnitudes over the samples that the wave shows: the
    // plain mean of a sound is close to 0 whatever its loudness.
    for (int c = 0; c < 2; ++c) {
        float sum = 0.0f;
        if (analyzer.m_blocks > 0) {
            for (int i = 0; i < CSoundAnalyzer::WaveSamples; ++i)
                sum += std::fabs(analyzer.m_wave[c][i]);
        }
        m_average[c] = sum / static_cast<float>(CSoundAnalyzer::WaveSamples);
    }
}

void CWaveformNode::Update(float time, CSceneContext*)
{
    // `time` is the position in the wave; only the ports in use are pulled.
    m_ports.m_amplification->Update(time);
    if (g_soundAnalyzer && g_soundAnalyzer->IsMusicActive()) {
        UpdateAverages();
        m_ports.PublishMusic(g_soundAnalyzer->GetWaveform(0, time), g_soundAnalyzer->GetWaveform(1, time));
        m_avgLeft->m_value = m_average[0] * m_ports.m_amplification->m_value;
        m_avgRight->m_value = m_average[1] * m_ports.m_amplification->m_value;
    } else {
        m_ports.PublishNoMusic(time);
        m_avgLeft->m_value = m_ports.m_noMusicLeft->m_value;
        m_avgRight->m_value = m_ports.m_noMusicRight->m_value;
    }
    m_avgLeft->m_changed = true;
    m_avgRight->m_changed = true;
}
