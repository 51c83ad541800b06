#pragma once

#include "nodes/support/channelports.h"
#include "scene/node.h"

// The smoothed spectrum of the music at one position from 0 (bass) to 1.
// Evaluated on every pull: read along a "(Local)" port it draws the spectrum
// across the elements.
class CSpectrumNode : public CNode
{
public:
    void Update(float time, CSceneContext* context) override;

private:
    friend CNodeDeclaration DeclareNode<CSpectrumNode>();

    SChannelPorts m_ports;
};
