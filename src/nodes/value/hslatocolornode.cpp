#include "nodes/value/hslatocolornode.h"

#include "scene/nodedeclaration.h"

namespace {

// One channel: t is the hue shifted by a third for red and blue.
float Channel(float p, float q, float t)
{
    if (t < 0.0f)
        t += 1.0f;
    else if (t > 1.0f)
        t -= 1.0f;
    if (6.0f * t < 1.0f)
        return p + (q - p) * 6.0f * t;
    if (2.0f * t < 1.0f)
        return q;
    if (3.0f * t < 2.0f)
        return p + (q - p) * (0.6666667f - t) * 6.0f;
    return p;
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CHSLAToColor>()
{
    return {EEvaluation::EveryPull,
            {Inherited<CHSLAToColor>(CHSLAToColor::Ports(1.0f, "Lightness", "Lightness", 0.5f))}};
}

std::array<float, 3> CHSLAToColor::ToRgb(float hue, float s, float l) const
{
    const float h = hue / 360.0f;
    std::array<float, 3> rgb = {l, l, l};
    if (s > 1e-05f) {
        const float q = l < 0.5f ? l * (1.0f + s) : l + s - l * s;
        const float p = 2.0f * l - q;
        rgb[0] = Channel(p, q, h + 0.33333334f);
        rgb[1] = Channel(p, q, h);
        rgb[2] = Channel(p, q, h - 0.33333334f);
    }
    return rgb;
}
