#pragma once

#include "scene/node.h"

class CPortFloat;

// The smoothed spectrum of the music at one position from 0 (bass) to 1.
// Evaluated on every pull: read along a "(Local)" port it draws the spectrum
// across the elements.
class CSpectrumNode : public CNode
{
public:
    bool Init() override;
    void Update(float time, CSceneContext* context) override;

private:
    CPortFloat* m_noMusicLeft = nullptr;
    CPortFloat* m_noMusicRight = nullptr;
    CPortFloat* m_noMusicMono = nullptr;
    CPortFloat* m_amplification = nullptr;
    CPortFloat* m_mono = nullptr;
    CPortFloat* m_left = nullptr;
    CPortFloat* m_right = nullptr;
};
