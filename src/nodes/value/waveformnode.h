#pragma once

#include "nodes/support/channelports.h"
#include "scene/node.h"

class CPortFloat;
class CSoundAnalyzer;

// The waveform of the music at one position from 0 to 1, and the mean level
// of each channel. Evaluated on every pull: read along a "(Local)" port it
// draws the wave across the elements.
class CWaveformNode : public CNode
{
public:
    void Update(float time, CSceneContext* context) override;

private:
    friend CNodeDeclaration DeclareNode<CWaveformNode>();

    // The mean level of each channel of the analyser's present block.
    void UpdateAverages();

    SChannelPorts m_ports;
    CPortFloat* m_avgLeft = nullptr;
    CPortFloat* m_avgRight = nullptr;

    // The averages are worked out once per block, not once per pull.
    const CSoundAnalyzer* m_averagedAnalyzer = nullptr;
    int m_averagedBlock = -1;
    float m_average[2] = {};
};
