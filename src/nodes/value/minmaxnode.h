#pragma once

#include "scene/node.h"

class CPortFloat;
class CPortInt;

// Moves a value between Min and Max: it waits a delay, picks a new target,
// glides to it over an interpolation time, and so on. Runs once a frame on
// its own timer, so "(Local)" readers see one value.
class CMinMaxNode : public CNode
{
public:
    void Update(float time, CSceneContext* context) override;

private:
    friend CNodeDeclaration DeclareNode<CMinMaxNode>();

    enum class EPhase { Interpolating = 1, Waiting = 2 };

    // A port's value, updated with the node's timer at the moment it is needed.
    float Read(CPortFloat* port);
    int Read(CPortInt* port);
    // Picks `result` by `mode` between `min` and `max`; `current` is first
    // brought into the range and stored back.
    void Choose(int mode, float min, float max, float& current, float& result);
    float Output();

    CPortFloat* m_min = nullptr;
    CPortFloat* m_max = nullptr;
    CPortInt* m_mode = nullptr;
    CPortFloat* m_delayMin = nullptr;
    CPortFloat* m_delayMax = nullptr;
    CPortInt* m_delayMode = nullptr;
    CPortFloat* m_iTimeMin = nullptr;
    CPortFloat* m_iTimeMax = nullptr;
    CPortInt* m_iTimeMode = nullptr;
    CPortFloat* m_value = nullptr;

    EPhase m_phase = EPhase::Waiting;
    float m_t = 0.0f;
    float m_delay = 0.0f;
    float m_iTime = 0.0f;
    float m_previousITime = 0.0f;
    float m_start = 0.0f;
    float m_target = 0.0f;
    bool m_firstMove = true;
};
