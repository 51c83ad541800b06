#include "nodes/value/hsvatocolornode.h"

#include "scene/nodedeclaration.h"

#include <cmath>

template <>
CNodeDeclaration DeclareNode<CHSVAToColor>()
{
    return {EEvaluation::EveryPull, {Inherited<CHSVAToColor>(CHSVAToColor::Ports(0.0f, "Value", "Brightness", 1.0f))}};
}

std::array<float, 3> CHSVAToColor::ToRgb(float hue, float s, float v) const
{
    std::array<float, 3> rgb = {v, v, v};
    if (std::fabs(s) > 1e-05f) {
        if (std::fabs(v) <= 1e-05f) {
            rgb[0] = rgb[1] = rgb[2] = 0.0f;
        } else {
            // A connected hue isn't limited to its port's range.
            const float h = (std::isfinite(hue) ? hue : 0.0f) / 60.0f;
            const float i = std::floor(h);
            const float f = h - i;
            const float p = v * (1.0f - s);
            const float q = v * (1.0f - f * s);
            const float t = v * (1.0f - (1.0f - f) * s);
            // A hue of 360 is sector 6, the same as 0; one just below 0 is
            // sector -1, the same as 5.
            const int sector = (static_cast<int>(std::fmod(i, 6.0f)) + 6) % 6;
            switch (sector) {
            case 0: rgb[0] = v, rgb[1] = t, rgb[2] = p; break;
            case 1: rgb[0] = q, rgb[1] = v, rgb[2] = p; break;
            case 2: rgb[0] = p, rgb[1] = v, rgb[2] = t; break;
            case 3: rgb[0] = p, rgb[1] = q, rgb[2] = v; break;
            case 4: rgb[0] = t, rgb[1] = p, rgb[2] = v; break;
            default: rgb[0] = v, rgb[1] = p, rgb[2] = q; break;
            }
        }
    }
    return rgb;
}
