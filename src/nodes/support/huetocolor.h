#pragma once

#include "scene/node.h"

#include <array>
#include <string_view>

class CPortColor;
class CPortFloat;
template <class TOwner>
class TPorts;

// Hue in degrees, saturation, a third component and alpha to a colour: the
// base of HSLAToColor (lightness) and HSVAToColor (value), which differ in
// the third component and in how the three make red, green and blue.
class CHueToColorNode : public CNode
{
public:
    void Update(float time, CSceneContext* context) override;

protected:
    // The ports of both, in order, with the defaults of saturation and of the
    // third component.
    static TPorts<CHueToColorNode> Ports(float saturation, std::string_view third, std::string_view thirdDesc,
                                         float thirdValue);
    // Red, green and blue before they are held to 0..1.
    virtual std::array<float, 3> ToRgb(float hue, float saturation, float third) const = 0;

private:
    CPortFloat* m_hue = nullptr;
    CPortFloat* m_saturation = nullptr;
    CPortFloat* m_third = nullptr;
    CPortFloat* m_alpha = nullptr;
    CPortColor* m_color = nullptr;
};
