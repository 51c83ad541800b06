#include "nodes/value/rgbatocolor.h"

#include "ports/types/portcolor.h"
#include "ports/types/portfloat.h"
#include "scene/nodedeclaration.h"
#include "scene/nodeinfo.h"

namespace {

constexpr const char* Names[] = {"Red", "Green", "Blue", "Alpha"};

std::unique_ptr<CNodeInfo> DeclareRGBAToColor()
{
    auto info =
        std::make_unique<CNodeInfo>(NG_Colours, "RGBAToColor", [] { return static_cast<CNode*>(new CRGBAToColor); });
    info->m_desc = "Combines a red, green, blue and alpha component to a color";
    const char* descs[] = {"The red component", "The green component", "The blue component", "Opacity"};
    for (int i = 0; i < 4; ++i)
        info->AddInPort(std::make_unique<CPortFloat>(Names[i], descs[i], 1.0f, 0.01f, 0.0f, 1.0f));
    info->AddOutPort(std::make_unique<CPortColor>("Color", "The colour", CPortColor::Rgba{1, 1, 1, 1},
                                                  CPortColor::Rgba{0, 0, 0, 0}, CPortColor::Rgba{1, 1, 1, 1}));
    return info;
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CRGBAToColor>()
{
    return CNodeDeclaration(DeclareRGBAToColor());
}

bool CRGBAToColor::Init()
{
    m_updateOnce = false;
    bool found = true;
    for (int i = 0; i < 4; ++i)
        found &= (m_components[i] = GetInPort<CPortFloat>(Names[i])) != nullptr;
    m_color = GetOutPort<CPortColor>("Color");
    return found && m_color;
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
