#pragma once

#include "scene/node.h"

class CPortBool;
class CPortFloat;
class CPortInt;

// A periodic wave of `time` (sine, square, triangle, sawtooth) or simplex
// noise, from -1 to 1 before amplitude and offset. Evaluated on every pull.
class CSignalGeneratorNode : public CNode
{
public:
    void Update(float time, CSceneContext* context) override;

private:
    friend CNodeDeclaration DeclareNode<CSignalGeneratorNode>();

    CPortInt* m_waveformType = nullptr;
    CPortFloat* m_frequency = nullptr;
    CPortFloat* m_phase = nullptr;
    CPortFloat* m_offset = nullptr;
    CPortFloat* m_amplitude = nullptr;
    CPortBool* m_invert = nullptr;
    CPortFloat* m_value = nullptr;
};
