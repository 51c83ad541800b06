#include "nodes/value/hslatocolornode.h"

#include "scene/nodedeclaration.h"

#include <algorithm>

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
    return {"Converts a Hue, Saturation, Lightness and alpha component to a color",
            EEvaluation::EveryPull,
            {
                In(&CHSLAToColor::m_hue, "Hue", "Hue in degrees", {0.0f, 1.0f, 0.0f, 360.0f}),
                In(&CHSLAToColor::m_saturation, "Saturation", "Saturation", {1.0f, 0.01f, 0.0f, 1.0f}),
                In(&CHSLAToColor::m_lightness, "Lightness", "Lightness", {0.5f, 0.01f, 0.0f, 1.0f}),
                In(&CHSLAToColor::m_alpha, "Alpha", "Opacity", {1.0f, 0.01f, 0.0f, 1.0f}),
                Out(&CHSLAToColor::m_color, "Color", "The colour", {{1, 1, 1, 1}}),
            }};
}

void CHSLAToColor::Update(float time, CSceneContext*)
{
    UpdateInPorts(time);
    const float h = m_hue->m_value / 360.0f;
    const float s = m_saturation->m_value;
    const float l = m_lightness->m_value;
    float rgb[3] = {l, l, l};
    if (s > 1e-05f) {
        const float q = l < 0.5f ? l * (1.0f + s) : l + s - l * s;
        const float p = 2.0f * l - q;
        rgb[0] = Channel(p, q, h + 0.33333334f);
        rgb[1] = Channel(p, q, h);
        rgb[2] = Channel(p, q, h - 0.33333334f);
    }
    for (int i = 0; i < 3; ++i)
        m_color->m_value[size_t(i)] = std::clamp(rgb[i], 0.0f, 1.0f);
    m_color->m_value[3] = m_alpha->m_value;
    m_color->m_changed = true;
}
