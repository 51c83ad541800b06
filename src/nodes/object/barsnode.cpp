#include "nodes/object/barsnode.h"

#include "ports/types/dataports.h"
#include "ports/types/portcolor.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "render/rendertypes.h"
#include "scene/nodedeclaration.h"

#include <algorithm>

template <>
CNodeDeclaration DeclareNode<CBarsNode>()
{
    using C = CBarsNode;
    return {
        In(&C::m_numBars, "NumBars", "Number of bars", {512, 0, 10000}),
        In(&C::m_barHeight, "BarHeight", "Height of each bar (Local)", {1.0f, 0.1f, -10000.0f, 10000.0f}),
        In(&C::m_color, "Color", "Color of the bars", {{1, 1, 1, 1}}),
        In(&C::m_outlineEffect, "OutlineEffect", "Effect to apply to the outline of the bars"),
        Out(&C::m_object, "Object", "Object"),
    };
}

void CBarsNode::Update(float time, CSceneContext*)
{
    m_object->m_value = this;
    UpdateInPorts(time);
    const int n = std::max(0, m_numBars->m_value);
    m_lines.Resize(n);
    const auto& c = m_color->m_value;
    const uint32_t color = PackColor(c[0], c[1], c[2], c[3]);
    // A single bar stands at the left end rather than dividing by zero.
    const float step = n > 1 ? 1.0f / float(n - 1) : 0.0f;
    for (int i = 0; i < n; ++i) {
        const float t = float(i) * step;
        m_barHeight->Update(t);
        const float x = t - 0.5f;
        *m_lines.GetLine(i) = {{x, m_barHeight->m_value, 0.0f, color}, {x, 0.0f, 0.0f, color}};
    }
}
