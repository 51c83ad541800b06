#include "nodes/value/waveformnode.h"

#include "ports/types/portfloat.h"
#include "scene/nodedeclaration.h"
#include "scene/nodeinfo.h"
#include "sound/soundanalyzer.h"

#include <cmath>

namespace {

std::unique_ptr<CNodeInfo> DeclareWaveformNode()
{
    auto info =
        std::make_unique<CNodeInfo>(NG_Sound, "Waveform", [] { return static_cast<CNode*>(new CWaveformNode); });
    info->m_desc = "The waveform of the music in the range -1.0 to 1.0";
    info->AddInPort(std::make_unique<CPortFloat>("NoMusicLeft",
                                                 "LeftChannel and AvgLeftChannel while there is no music", 0.0f,
                                                 0.01f, -10000.0f, 10000.0f));
    info->AddInPort(std::make_unique<CPortFloat>("NoMusicRight",
                                                 "RightChannel and AvgRightChannel while there is no music", 0.0f,
                                                 0.01f, -10000.0f, 10000.0f));
    info->AddInPort(std::make_unique<CPortFloat>("NoMusicMono", "Mono while there is no music", 0.0f, 0.01f,
                                                 -10000.0f, 10000.0f));
    info->AddInPort(std::make_unique<CPortFloat>("Amplification", "Factor on the values", 1.0f, 0.01f, 0.0f,
                                                 10000.0f));
    info->AddOutPort(std::make_unique<CPortFloat>("Mono", "Mean of left and right", 0.0f, 0.01f, 0.0f, 1.0f));
    info->AddOutPort(std::make_unique<CPortFloat>("LeftChannel", "Left channel", 0.0f, 0.01f, 0.0f, 1.0f));
    info->AddOutPort(std::make_unique<CPortFloat>("RightChannel", "Right channel", 0.0f, 0.01f, 0.0f, 1.0f));
    info->AddOutPort(std::make_unique<CPortFloat>("AvgLeftChannel", "The left channel's average value", 0.0f, 0.01f,
                                                  0.0f, 1.0f));
    info->AddOutPort(std::make_unique<CPortFloat>("AvgRightChannel", "The right channel's average value", 0.0f, 0.01f,
                                                  0.0f, 1.0f));
    return info;
}

const bool s_declared = DeclareNodeType(DeclareWaveformNode());

} // namespace

bool CWaveformNode::Init()
{
    m_updateOnce = false;
    m_noMusicLeft = GetInPort<CPortFloat>("NoMusicLeft");
    m_noMusicRight = GetInPort<CPortFloat>("NoMusicRight");
    m_noMusicMono = GetInPort<CPortFloat>("NoMusicMono");
    m_amplification = GetInPort<CPortFloat>("Amplification");
    m_mono = GetOutPort<CPortFloat>("Mono");
    m_left = GetOutPort<CPortFloat>("LeftChannel");
    m_right = GetOutPort<CPortFloat>("RightChannel");
    m_avgLeft = GetOutPort<CPortFloat>("AvgLeftChannel");
    m_avgRight = GetOutPort<CPortFloat>("AvgRightChannel");
    return m_noMusicLeft && m_noMusicRight && m_noMusicMono && m_amplification && m_mono && m_left && m_right &&
           m_avgLeft && m_avgRight;
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
    m_amplification->Update(time);
    if (g_soundAnalyzer && g_soundAnalyzer->IsMusicActive()) {
        UpdateAverages();
        const float amplification = m_amplification->m_value;
        m_left->m_value = g_soundAnalyzer->GetWaveform(0, time) * amplification;
        m_right->m_value = g_soundAnalyzer->GetWaveform(1, time) * amplification;
        m_mono->m_value = (m_left->m_value + m_right->m_value) * 0.5f;
        m_avgLeft->m_value = m_average[0] * amplification;
        m_avgRight->m_value = m_average[1] * amplification;
    } else {
        m_noMusicLeft->Update(time);
        m_noMusicRight->Update(time);
        m_noMusicMono->Update(time);
        m_left->m_value = m_noMusicLeft->m_value;
        m_right->m_value = m_noMusicRight->m_value;
        m_mono->m_value = m_noMusicMono->m_value;
        m_avgLeft->m_value = m_noMusicLeft->m_value;
        m_avgRight->m_value = m_noMusicRight->m_value;
    }
    for (CPortFloat* out : {m_mono, m_left, m_right, m_avgLeft, m_avgRight})
        out->m_changed = true;
}
