#pragma once

#include "nodes/support/linesobject.h"

class CPortColor;
class CPortEffect;
class CPortFloat;
class CPortInt;
class CPortObject;

// A row of upright lines from -0.5 to 0.5 in x, each as high as its input
// read along the row: a connected Spectrum node draws the spectrum.
class CBarsNode : public CLinesObjectNode
{
public:
    void Update(float time, CSceneContext* context) override;

private:
    friend CNodeDeclaration DeclareNode<CBarsNode>();
    CPortEffect* LineEffect() const override { return m_outlineEffect; }

    CPortInt* m_numBars = nullptr;
    CPortFloat* m_barHeight = nullptr;
    CPortColor* m_color = nullptr;
    CPortEffect* m_outlineEffect = nullptr;
    CPortObject* m_object = nullptr;
};
