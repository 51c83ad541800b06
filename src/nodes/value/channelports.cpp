#include "nodes/value/channelports.h"

#include "ports/types/portfloat.h"
#include "scene/node.h"
#include "scene/nodeinfo.h"

#include <memory>

void SChannelPorts::Declare(CNodeInfo& info)
{
    info.AddInPort(std::make_unique<CPortFloat>("NoMusicLeft", "LeftChannel while there is no music", 0.0f, 0.01f,
                                                -10000.0f, 10000.0f));
    info.AddInPort(std::make_unique<CPortFloat>("NoMusicRight", "RightChannel while there is no music", 0.0f, 0.01f,
                                                -10000.0f, 10000.0f));
    info.AddInPort(std::make_unique<CPortFloat>("NoMusicMono", "Mono while there is no music", 0.0f, 0.01f,
                                                -10000.0f, 10000.0f));
    info.AddInPort(std::make_unique<CPortFloat>("Amplification", "Factor on the values", 1.0f, 0.01f, 0.0f,
                                                10000.0f));
    info.AddOutPort(std::make_unique<CPortFloat>("Mono", "Mean of left and right", 0.0f, 0.01f, 0.0f, 1.0f));
    info.AddOutPort(std::make_unique<CPortFloat>("LeftChannel", "Left channel", 0.0f, 0.01f, 0.0f, 1.0f));
    info.AddOutPort(std::make_unique<CPortFloat>("RightChannel", "Right channel", 0.0f, 0.01f, 0.0f, 1.0f));
}

bool SChannelPorts::Bind(const CNode& node)
{
    m_noMusicLeft = node.GetInPort<CPortFloat>("NoMusicLeft");
    m_noMusicRight = node.GetInPort<CPortFloat>("NoMusicRight");
    m_noMusicMono = node.GetInPort<CPortFloat>("NoMusicMono");
    m_amplification = node.GetInPort<CPortFloat>("Amplification");
    m_mono = node.GetOutPort<CPortFloat>("Mono");
    m_left = node.GetOutPort<CPortFloat>("LeftChannel");
    m_right = node.GetOutPort<CPortFloat>("RightChannel");
    return m_noMusicLeft && m_noMusicRight && m_noMusicMono && m_amplification && m_mono && m_left && m_right;
}

void SChannelPorts::PublishMusic(float left, float right)
{
    const float amplification = m_amplification->m_value;
    m_left->m_value = left * amplification;
    m_right->m_value = right * amplification;
    m_mono->m_value = (m_left->m_value + m_right->m_value) * 0.5f;
    for (CPortFloat* out : {m_mono, m_left, m_right})
        out->m_changed = true;
}

void SChannelPorts::PublishNoMusic(float time)
{
    m_noMusicLeft->Update(time);
    m_noMusicRight->Update(time);
    m_noMusicMono->Update(time);
    m_left->m_value = m_noMusicLeft->m_value;
    m_right->m_value = m_noMusicRight->m_value;
    m_mono->m_value = m_noMusicMono->m_value;
    for (CPortFloat* out : {m_mono, m_left, m_right})
        out->m_changed = true;
}
