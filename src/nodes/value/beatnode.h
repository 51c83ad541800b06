#pragma once

#include "scene/node.h"

class CPortFloat;

// The beat of the music as one value a frame, mapped from Min to Max; the
// NoMusic value stands in while there is no music.
class CBeatNode : public CNode
{
public:
    void Update(float time, CSceneContext* context) override;

private:
    friend CNodeDeclaration DeclareNode<CBeatNode>();

    CPortFloat* m_noMusic = nullptr;
    CPortFloat* m_amplification = nullptr;
    CPortFloat* m_min = nullptr;
    CPortFloat* m_max = nullptr;
    CPortFloat* m_beatStrength = nullptr;
};
