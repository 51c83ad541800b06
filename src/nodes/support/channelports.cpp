#include "nodes/support/channelports.h"

#include "scene/nodedeclaration.h"

TPorts<SChannelPorts> SChannelPorts::Ports()
{
    return {
        In(&SChannelPorts::m_noMusicLeft, "NoMusicLeft", "LeftChannel while there is no music",
           {0.0f, 0.01f, -10000.0f, 10000.0f}),
        In(&SChannelPorts::m_noMusicRight, "NoMusicRight", "RightChannel while there is no music",
           {0.0f, 0.01f, -10000.0f, 10000.0f}),
        In(&SChannelPorts::m_noMusicMono, "NoMusicMono", "Mono while there is no music",
           {0.0f, 0.01f, -10000.0f, 10000.0f}),
        In(&SChannelPorts::m_amplification, "Amplification", "Factor on the values", {1.0f, 0.01f, 0.0f, 10000.0f}),
        Out(&SChannelPorts::m_mono, "Mono", "Mean of left and right", {0.0f, 0.01f, 0.0f, 1.0f}),
        Out(&SChannelPorts::m_left, "LeftChannel", "Left channel", {0.0f, 0.01f, 0.0f, 1.0f}),
        Out(&SChannelPorts::m_right, "RightChannel", "Right channel", {0.0f, 0.01f, 0.0f, 1.0f}),
    };
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
