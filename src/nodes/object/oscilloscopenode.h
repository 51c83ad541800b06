#pragma once

#include "nodes/support/linesobject.h"

class CPortColor;
class CPortEffect;
class CPortFloat;
class CPortInt;
class CPortObject;

// A joined line from -0.5 to 0.5 in x through its input read along the way:
// a connected Waveform node draws the wave.
class COscilloscopeNode : public CLinesObjectNode
{
public:
    void Update(float time, CSceneContext* context) override;

private:
    friend CNodeDeclaration DeclareNode<COscilloscopeNode>();
    CPortEffect* LineEffect() const override { return m_effect; }

    CPortInt* m_numLines = nullptr;
    CPortColor* m_color = nullptr;
    CPortFloat* m_wave = nullptr;
    CPortEffect* m_effect = nullptr;
    CPortObject* m_object = nullptr;
};
