#pragma once

#include "nodes/support/huetocolor.h"

// Hue (degrees), saturation, lightness and alpha to a colour. Evaluated on
// every pull.
class CHSLAToColor : public CHueToColorNode
{
private:
    friend CNodeDeclaration DeclareNode<CHSLAToColor>();

    std::array<float, 3> ToRgb(float hue, float saturation, float lightness) const override;
};
