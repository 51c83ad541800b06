#include "nodes/render/renderobjectnode.h"

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
    CMatrix world = MatrixIdentity();
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column)
            world[size_t(row * 4 + column)] *= m_scale->m_value[size_t(row)];
    }
    const auto& rot = m_rot->m_value;
    world = MatrixMultiply(world, MatrixRotation(rot[0] * DegreesToRadians, rot[1] * DegreesToRadians,
                                                 rot[2] * DegreesToRadians));
    world[12] = m_pos->m_value[0];
    world[13] = m_pos->m_value[1];
    world[14] = m_pos->m_value[2];
    root->m_world = world;
    root->m_color = m_col->m_value;
    objectNode->BuildRenderList(&m_list, &m_list.GetRootList(), camera);
}

void CRenderObjectNode::Render(CRender* render)
{
    if (CPDRender* upstream = m_renderIn->m_value)
        upstream->Render(render);
    m_list.Draw(render);
}
