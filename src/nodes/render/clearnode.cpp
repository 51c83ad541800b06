#include "nodes/render/clearnode.h"

#include "render/render.h"
#include "scene/nodedeclaration.h"
#include "scene/renderlist.h"

template <>
CNodeDeclaration DeclareNode<CClearNode>()
{
    return {
        In(&CClearNode::m_color, "Color", "Colour the viewport is filled with", {{0, 0, 0, 0}}),
        Out(&CClearNode::m_renderOut, "Render", "This step of the render chain"),
    };
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
