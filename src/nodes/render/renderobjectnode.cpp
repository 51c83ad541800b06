#include "nodes/render/renderobjectnode.h"

#include "nodes/support/placement.h"
#include "render/render.h"
#include "scene/nodedeclaration.h"

template <>
CNodeDeclaration DeclareNode<CRenderObjectNode>()
{
    return {EEvaluation::EveryPull,
            {
                In(&CRenderObjectNode::m_renderIn, "Render", "Previous step of the render chain"),
                In(&CRenderObjectNode::m_object, "Object", "The object to draw"),
                In(&CRenderObjectNode::m_col, "Col", "Colour the object is tinted with", {{1, 1, 1, 1}}),
                In(&CRenderObjectNode::m_pos, "Pos", "Position", {{0, 0, 0}, 0.1f, 10000.0f}),
                In(&CRenderObjectNode::m_rot, "Rot", "Rotation in degrees", {{0, 0, 0}, 0.1f, 10000.0f}),
                In(&CRenderObjectNode::m_scale, "Scale", "Size along each axis", {{1, 1, 1}, 0.01f, 10000.0f}),
                Out(&CRenderObjectNode::m_renderOut, "Render", "This step of the render chain"),
            }};
}

void CRenderObjectNode::Update(float time, CSceneContext*)
{
    m_renderOut->m_value = this;
    UpdateInPorts(time);
}

void CRenderObjectNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    list->AddChainStep(this, m_renderIn->GetConnectedNode(), parents, camera);
    CNode* objectNode = m_object->GetConnectedNode();
    if (!objectNode)
        return;

    m_list.Reset();
    CRenderItem* root = m_list.GetRoot();
    root->m_world = PlacementMatrix(m_pos->m_value.data(), m_rot->m_value.data(), m_scale->m_value.data());
    root->m_color = m_col->m_value;
    objectNode->BuildRenderList(&m_list, &m_list.GetRootList(), camera);
}

void CRenderObjectNode::Render(CRender* render)
{
    if (CPDRender* upstream = m_renderIn->m_value)
        upstream->Render(render);
    m_list.Draw(render);
}
