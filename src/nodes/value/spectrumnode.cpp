#include "nodes/value/spectrumnode.h"

#include "ports/types/portfloat.h"
#include "scene/nodedeclaration.h"
#include "scene/nodeinfo.h"
#include "sound/soundanalyzer.h"

namespace {

std::unique_ptr<CNodeInfo> DeclareSpectrumNode()
{
    auto info =
        std::make_unique<CNodeInfo>(NG_Sound, "Spectrum", [] { return static_cast<CNode*>(new CSpectrumNode); });
    info->m_desc = "The current music as a spectrum";
    SChannelPorts::Declare(*info);
    return info;
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CSpectrumNode>()
{
    return CNodeDeclaration(DeclareSpectrumNode());
}

bool CSpectrumNode::Init()
{
    m_updateOnce = false;
    return m_ports.Bind(*this);
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
