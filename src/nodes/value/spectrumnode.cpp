#include "nodes/value/spectrumnode.h"

#include "ports/types/portfloat.h"
#include "scene/nodedeclaration.h"
#include "sound/soundanalyzer.h"

template <>
CNodeDeclaration DeclareNode<CSpectrumNode>()
{
    return {EEvaluation::EveryPull, {Within(&CSpectrumNode::m_ports, SChannelPorts::Ports())}};
}

void CSpectrumNode::Update(float time, CSceneContext*)
{
    // `time` is the position in the spectrum; only the ports in use are pulled.
    m_ports.m_amplification->Update(time);
    if (g_soundAnalyzer && g_soundAnalyzer->IsMusicActive()) {
        // Smoothing level 1, the fastest of the smoothed copies, at a single point.
        m_ports.PublishMusic(g_soundAnalyzer->GetSpectrum(0, 1, time, time),
                             g_soundAnalyzer->GetSpectrum(1, 1, time, time));
    } else {
        m_ports.PublishNoMusic(time);
    }
}
