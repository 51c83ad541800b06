#include "nodes/support/huetocolor.h"

#include "scene/nodedeclaration.h"

#include <algorithm>

TPorts<CHueToColorNode> CHueToColorNode::Ports(float saturation, std::string_view third, std::string_view thirdDesc,
                                               float thirdValue)
{
    return {
        In(&CHueToColorNode::m_hue, "Hue", "Hue in degrees", {0.0f, 1.0f, 0.0f, 360.0f}),
        In(&CHueToColorNode::m_saturation, "Saturation", "Saturation", {saturation, 0.01f, 0.0f, 1.0f}),
        In(&CHueToColorNode::m_third, third, thirdDesc, {thirdValue, 0.01f, 0.0f, 1.0f}),
        In(&CHueToColorNode::m_alpha, "Alpha", "Opacity", {1.0f, 0.01f, 0.0f, 1.0f}),
        Out(&CHueToColorNode::m_color, "Color", "The colour", {{1, 1, 1, 1}}),
    };
}

void CHueToColorNode::Update(float time, CSceneContext*)
{
    UpdateInPorts(time);
    const std::array<float, 3> rgb = ToRgb(m_hue->m_value, m_saturation->m_value, m_third->m_value);
    for (size_t i = 0; i < 3; ++i)
        m_color->m_value[i] = std::clamp(rgb[i], 0.0f, 1.0f);
    m_color->m_value[3] = m_alpha->m_value;
    m_color->m_changed = true;
}
