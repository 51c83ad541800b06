#include "nodes/value/hsvatocolornode.h"

#include "scene/nodedeclaration.h"

#include <algorithm>
#include <cmath>

template <>
CNodeDeclaration DeclareNode<CHSVAToColor>()
{
    return {"Converts a Hue, Saturation, Value and alpha component to a color",
            EEvaluation::EveryPull,
            {
                In(&CHSVAToColor::m_hue, "Hue", "Hue in degrees", {0.0f, 1.0f, 0.0f, 360.0f}),
                In(&CHSVAToColor::m_saturation, "Saturation", "Saturation", {0.0f, 0.01f, 0.0f, 1.0f}),
                In(&CHSVAToColor::m_value, "Value", "Brightness", {1.0f, 0.01f, 0.0f, 1.0f}),
                In(&CHSVAToColor::m_alpha, "Alpha", "Opacity", {1.0f, 0.01f, 0.0f, 1.0f}),
                Out(&CHSVAToColor::m_color, "Color", "The colour", {{1, 1, 1, 1}}),
            }};
}

void CHSVAToColor::Update(float time, CSceneContext*)
{
    UpdateInPorts(time);
    const float s = m_saturation->m_value;
    const float v = m_value->m_value;
    float rgb[3] = {v, v, v};
    if (std::fabs(s) > 1e-05f) {
        if (std::fabs(v) <= 1e-05f) {
            rgb[0] = rgb[1] = rgb[2] = 0.0f;
        } else {
            // A connected hue isn't limited to its port's range.
            const float hue = std::isfinite(m_hue->m_value) ? m_hue->m_value : 0.0f;
            const float h = hue / 60.0f;
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
    for (int i = 0; i < 3; ++i)
        m_color->m_value[size_t(i)] = std::clamp(rgb[i], 0.0f, 1.0f);
    m_color->m_value[3] = m_alpha->m_value;
    m_color->m_changed = true;
}
