#include "nodes/value/rgbatocolornode.h"

#include "ports/types/portcolor.h"
#include "ports/types/portfloat.h"
#include "scene/nodedeclaration.h"

template <>
CNodeDeclaration DeclareNode<CRGBAToColor>()
{
    return {EEvaluation::EveryPull,
            {
                In(&CRGBAToColor::m_components, 0, "Red", "The red component", {1.0f, 0.01f, 0.0f, 1.0f}),
                In(&CRGBAToColor::m_components, 1, "Green", "The green component", {1.0f, 0.01f, 0.0f, 1.0f}),
                In(&CRGBAToColor::m_components, 2, "Blue", "The blue component", {1.0f, 0.01f, 0.0f, 1.0f}),
                In(&CRGBAToColor::m_components, 3, "Alpha", "Opacity", {1.0f, 0.01f, 0.0f, 1.0f}),
                Out(&CRGBAToColor::m_color, "Color", "The colour", {{1, 1, 1, 1}}),
            }};
}

void CRGBAToColor::Update(float time, CSceneContext*)
{
    // From the last to the first, the order connected scripts have seen.
    for (int i = 3; i >= 0; --i) {
        m_components[i]->Update(time);
        m_color->m_value[size_t(i)] = m_components[i]->m_value;
    }
    m_color->m_changed = true;
}
