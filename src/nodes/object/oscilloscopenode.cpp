#include "nodes/object/oscilloscopenode.h"

#include "ports/types/dataports.h"
#include "ports/types/portcolor.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "render/rendertypes.h"
#include "scene/nodedeclaration.h"

#include <algorithm>

template <>
CNodeDeclaration DeclareNode<COscilloscopeNode>()
{
    using C = COscilloscopeNode;
    return {
        In(&C::m_numLines, "NumLines", "Number of line segments", {576, 0, 10000}),
        In(&C::m_color, "Color", "Color of the lines", {{1, 1, 1, 1}}),
        In(&C::m_wave, "Wave", "The wave that should be shown (Local)", {0.0f, 0.01f, 0.0f, 1.0f}),
        In(&C::m_effect, "Effect", "Effect to apply to the lines"),
        Out(&C::m_object, "Object", "Object"),
    };
}

void COscilloscopeNode::Update(float time, CSceneContext*)
{
    m_object->m_value = this;
    UpdateInPorts(time);
    const int n = std::max(0, m_numLines->m_value);
    m_lines.Resize(n);
    if (n == 0)
        return;
    const auto& c = m_color->m_value;
    const uint32_t color = PackColor(c[0], c[1], c[2], c[3]);
    const float step = 1.0f / float(n);
    m_wave->Update(0.0f);
    CRenderLines::SEnd last{-0.5f, m_wave->m_value, 0.0f, color};
    for (int i = 1; i <= n; ++i) {
        const float t = float(i) * step;
        m_wave->Update(t);
        const CRenderLines::SEnd next{t - 0.5f, m_wave->m_value, 0.0f, color};
        *m_lines.GetLine(i - 1) = {next, last};
        last = next;
    }
}
