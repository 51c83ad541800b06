#pragma once

#include "scene/node.h"

class CPortFloat;

// A sine of `time` between Min and Max, starting at Min. Kept for old
// scenes; SignalGenerator does more. Evaluated on every pull.
class CSinNode : public CNode
{
public:
    void Update(float time, CSceneContext* context) override;

private:
    friend CNodeDeclaration DeclareNode<CSinNode>();

    CPortFloat* m_min = nullptr;
    CPortFloat* m_max = nullptr;
    CPortFloat* m_offset = nullptr;
    CPortFloat* m_frequency = nullptr;
    CPortFloat* m_value = nullptr;
};
