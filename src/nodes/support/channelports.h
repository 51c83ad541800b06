#pragma once

class CPortFloat;
template <class TOwner>
class TPorts;

// The ports that Spectrum and Waveform share: what to give while there is no
// music, a factor on the music's values, and the mono, left and right outputs.
struct SChannelPorts
{
    // Their rows in a node's port table: Within(&CSpectrumNode::m_ports, Ports()).
    static TPorts<SChannelPorts> Ports();
    // With music: the amplified left and right values and their mean.
    void PublishMusic(float left, float right);
    // Without: the replacement inputs, pulled only now.
    void PublishNoMusic(float time);

    CPortFloat* m_noMusicLeft = nullptr;
    CPortFloat* m_noMusicRight = nullptr;
    CPortFloat* m_noMusicMono = nullptr;
    CPortFloat* m_amplification = nullptr;
    CPortFloat* m_mono = nullptr;
    CPortFloat* m_left = nullptr;
    CPortFloat* m_right = nullptr;
};
