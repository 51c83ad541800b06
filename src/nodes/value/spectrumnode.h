#pragma once

#include "nodes/value/channelports.h"
#include "scene/node.h"

// The smoothed spectrum of the music at one position from 0 (bass) to 1.
// Evaluated on every pull: read along a "(Local)" port it draws the spectrum
// across the elements.
class CSpectrumNode : public CNode
{
public:
    bool Init() override;
    void Update(float time, CSceneContext* context) override;

private:
    SChannelPorts m_ports;
};
