#pragma once

#include "scene/node.h"

class CPortColor;
class CPortFloat;

// Hue (degrees), saturation, lightness and alpha to a colour. Evaluated on
// every pull.
class CHSLAToColor : public CNode
{
public:
    void Update(float time, CSceneContext* context) override;

private:
    friend CNodeDeclaration DeclareNode<CHSLAToColor>();

    CPortFloat* m_hue = nullptr;
    CPortFloat* m_saturation = nullptr;
    CPortFloat* m_lightness = nullptr;
    CPortFloat* m_alpha = nullptr;
    CPortColor* m_color = nullptr;
};
