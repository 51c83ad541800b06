#pragma once

#include "nodes/support/huetocolor.h"

// Hue (degrees), saturation, value and alpha to a colour. Evaluated on every
// pull.
class CHSVAToColor : public CHueToColorNode
{
private:
    friend CNodeDeclaration DeclareNode<CHSVAToColor>();

    std::array<float, 3> ToRgb(float hue, float saturation, float value) const override;
};
