#include "nodes/render/clearnode.h"

#include "ports/types/dataports.h"
#include "ports/types/portcolor.h"
#include "render/render.h"
#include "scene/nodedeclaration.h"
#include "scene/nodeinfo.h"
#include "scene/renderlist.h"

namespace {

std::unique_ptr<CNodeInfo> DeclareClearNode()
{
    auto info = std::make_unique<CNodeInfo>(NG_RenderChain, "Clear", [] { return static_cast<CNode*>(new CClearNode); });
    info->m_desc = "Fills the viewport with a single color.";
    info->AddInPort(std::make_unique<CPortColor>("Color", "Colour the viewport is filled with",
                                                 CPortColor::Rgba{0, 0, 0, 0}, CPortColor::Rgba{0, 0, 0, 0},
                                                 CPortColor::Rgba{1, 1, 1, 1}));
    info->AddOutPort(std::make_unique<CPortRender>("Render", "This step of the render chain"));
    return info;
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CClearNode>()
{
    return CNodeDeclaration(DeclareClearNode());
}

bool CClearNode::Init()
{
    m_renderOut = GetOutPort<CPortRender>("Render");
    m_color = GetInPort<CPortColor>("Color");
    return m_renderOut && m_color;
}

void CClearNode::Update(float time, CSceneContext*)
{
    m_renderOut->m_value = this;
    UpdateInPorts(time);
}

void CClearNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    list->AddChainStep(this, nullptr, parents, camera);
}

void CClearNode::Render(CRender* render)
{
    render->Clear(m_color->m_value.data(), 1.0f, CF_Color | CF_Depth);
}
