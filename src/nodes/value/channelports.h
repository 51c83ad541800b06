#pragma once

class CNode;
class CNodeInfo;
class CPortFloat;

// The ports that Spectrum and Waveform share: what to give while there is no
// music, a factor on the music's values, and the mono, left and right outputs.
struct SChannelPorts
{
    static void Declare(CNodeInfo& info);
    bool Bind(const CNode& node);
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
