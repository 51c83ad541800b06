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
    info->AddInPort(std::make_unique<CPortFloat>("NoMusicLeft", "LeftChannel while there is no music", 0.0f, 0.01f,
                                                 -10000.0f, 10000.0f));
    info->AddInPort(std::make_unique<CPortFloat>("NoMusicRight", "RightChannel while there is no music", 0.0f, 0.01f,
                                                 -10000.0f, 10000.0f));
    info->AddInPort(std::make_unique<CPortFloat>("NoMusicMono", "Mono while there is no music", 0.0f, 0.01f,
                                                 -10000.0f, 10000.0f));
    info->AddInPort(std::make_unique<CPortFloat>("Amplification", "Factor on the values", 1.0f, 0.01f, 0.0f,
                                                 10000.0f));
    info->AddOutPort(std::make_unique<CPortFloat>("Mono", "Mean of left and right", 0.0f, 0.01f, 0.0f, 1.0f));
    info->AddOutPort(std::make_unique<CPortFloat>("LeftChannel", "Left channel", 0.0f, 0.01f, 0.0f, 1.0f));
    info->AddOutPort(std::make_unique<CPortFloat>("RightChannel", "Right channel", 0.0f, 0.01f, 0.0f, 1.0f));
    return info;
}

const bool s_declared = DeclareNodeType(DeclareSpectrumNode());

} // namespace

bool CSpectrumNode::Init()
{
    m_updateOnce = false;
    m_noMusicLeft = GetInPort<CPortFloat>("NoMusicLeft");
    m_noMusicRight = GetInPort<CPortFloat>("NoMusicRight");
    m_noMusicMono = GetInPort<CPortFloat>("NoMusicMono");
    m_amplification = GetInPort<CPortFloat>("Amplification");
    m_mono = GetOutPort<CPortFloat>("Mono");
    m_left = GetOutPort<CPortFloat>("LeftChannel");
    m_right = GetOutPort<CPortFloat>("RightChannel");
    return m_noMusicLeft && m_noMusicRight && m_noMusicMono && m_amplification && m_mono && m_left && m_right;
}

void CSpectrumNode::Update(float time, CSceneContext*)
{
    // `time` is the position in the spectrum; only the ports in use are pulled.
    m_amplification->Update(time);
    if (g_soundAnalyzer && g_soundAnalyzer->IsMusicActive()) {
        // Smoothing level 1, the fastest of the smoothed copies, at a single point.
        const float amplification = m_amplification->m_value;
        m_left->m_value = g_soundAnalyzer->GetSpectrum(0, 1, time, time) * amplification;
        m_right->m_value = g_soundAnalyzer->GetSpectrum(1, 1, time, time) * amplification;
        m_mono->m_value = (m_left->m_value + m_right->m_value) * 0.5f;
    } else {
        m_noMusicLeft->Update(time);
        m_noMusicRight->Update(time);
        m_noMusicMono->Update(time);
        m_left->m_value = m_noMusicLeft->m_value;
        m_right->m_value = m_noMusicRight->m_value;
        m_mono->m_value = m_noMusicMono->m_value;
    }
    m_mono->m_changed = true;
    m_left->m_changed = true;
    m_right->m_changed = true;
}
