#pragma once

#include "scene/node.h"

class CPortFloat;
class CSoundAnalyzer;

// The waveform of the music at one position from 0 to 1, and the mean level
// of each channel. Evaluated on every pull: read along a "(Local)" port it
// draws the wave across the elements.
class CWaveformNode : public CNode
{
public:
    bool Init() override;
    void Update(float time, CSceneContext* context) override;

private:
    // The mean level of each channel of the analyser's present block.
    void UpdateAverages();

    CPortFloat* m_noMusicLeft = nullptr;
    CPortFloat* m_noMusicRight = nullptr;
    CPortFloat* m_noMusicMono = nullptr;
    CPortFloat* m_amplification = nullptr;
    CPortFloat* m_mono = nullptr;
    CPortFloat* m_left = nullptr;
    CPortFloat* m_right = nullptr;
    CPortFloat* m_avgLeft = nullptr;
    CPortFloat* m_avgRight = nullptr;

    // The averages are worked out once per block, not once per pull.
    const CSoundAnalyzer* m_averagedAnalyzer = nullptr;
    int m_averagedBlock = -1;
    float m_average[2] = {};
};
