#include "nodes/object/clocknode.h"

#include "ports/types/portint.h"
#include "scene/nodedeclaration.h"

#include <algorithm>
#include <cstdio>

CClockNode::FLocalTime CClockNode::s_localTime = &CClockNode::SystemLocalTime;

template <>
CNodeDeclaration DeclareNode<CClockNode>()
{
    using C = CClockNode;
    return {
        Inherited<C>(CTextEffectNode::StatePorts()),
        In(&C::m_digitalFormat, "DigitalFormat", "Format of the time to show",
           {0, 0, 4, {{0, "22:31"}, {1, "22:31:42"}, {2, "10:31 pm"}, {3, "10:31:42 pm"}}}),
        In(&C::m_fontChoice, "Font", "The font to use", {1, 0, 2, {{0, "Normal"}, {1, "Digital Led"}}}),
        Inherited<C>(CTextEffectNode::EffectPorts()),
    };
}

std::tm CClockNode::SystemLocalTime()
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return local;
}

std::string CClockNode::Format(const std::tm& time, int format)
{
    char text[32];
    const char separator = ':';
    if (format < 2) {
        if (format == 0)
            std::snprintf(text, sizeof text, "%02d%c%02d", time.tm_hour, separator, time.tm_min);
        else
            std::snprintf(text, sizeof text, "%02d%c%02d%c%02d", time.tm_hour, separator, time.tm_min, separator,
                          time.tm_sec);
        return text;
    }
    // Midnight is 12 AM, noon 12 PM.
    const bool pm = time.tm_hour >= 12;
    const int hour = time.tm_hour % 12 == 0 ? 12 : time.tm_hour % 12;
    if (format == 2)
        std::snprintf(text, sizeof text, pm ? "%02d%c%02d PM" : "%02d%c%02d AM", hour, separator, time.tm_min);
    else
        std::snprintf(text, sizeof text, pm ? "%02d%c%02d%c%02d PM" : "%02d%c%02d%c%02d AM", hour, separator,
                      time.tm_min, separator, time.tm_sec);
    return text;
}

void CClockNode::Update(float time, CSceneContext* context)
{
    UpdateInPorts(time);
    UpdateEffectInputs(context);
    const int font = m_fontChoice->m_value;
    if (font != m_loadedFont) {
        const bool led = font == 1;
        LoadFont(led ? "nodedata/fonts/fontledbig.fnt" : "nodedata/fonts/font1.fnt", 50);
        // The font's own scale makes a line one unit high; the LED digits are
        // drawn a little smaller.
        m_scale = led ? 0.7f : 1.0f;
        m_loadedFont = font;
    }
    m_text = Format(s_localTime(), m_digitalFormat->m_value);

    // Centred on the origin: half the width to the left, half a line down
    // from the line's top.
    const float s = m_font.GetScale();
    m_font.ClearText();
    m_font.WriteCentered(0.0f, 0.5f - float(m_font.GetBase()) * s, 0.0f, m_text.c_str(), int(m_text.size()));
    SQuad* quads = m_font.GetQuads();
    for (int q = 0; q < m_font.GetQuadCount(); ++q)
        for (SVertexPNTBTC& v : quads[q].v) {
            v.position[0] *= m_scale;
            v.position[1] *= m_scale;
        }
}
