#include "nodes/render/renderobjectnode.h"

#include "ports/types/dataports.h"
#include "ports/types/portcolor.h"
#include "ports/types/portvector.h"
#include "render/render.h"
#include "scene/nodedeclaration.h"
#include "scene/nodeinfo.h"

namespace {

std::unique_ptr<CNodeInfo> DeclareRenderObjectNode()
{
    auto info = std::make_unique<CNodeInfo>(NG_RenderChain, "RenderObject",
                                            [] { return static_cast<CNode*>(new CRenderObjectNode); });
    info->m_desc = "Renders a single object at a location";
    info->AddInPort(std::make_unique<CPortRender>("Render", "Previous step of the render chain"));
    info->AddInPort(std::make_unique<CPortObject>("Object", "The object to draw"));
    info->AddInPort(std::make_unique<CPortColor>("Col", "Colour the object is tinted with", CPortColor::Rgba{1, 1, 1, 1},
                                                 CPortColor::Rgba{0, 0, 0, 0}, CPortColor::Rgba{1, 1, 1, 1}));
    info->AddInPort(CPortVector::Make("Pos", "Position", {0, 0, 0}, 0.1f, 10000.0f));
    info->AddInPort(CPortVector::Make("Rot", "Rotation in degrees", {0, 0, 0}, 0.1f, 10000.0f));
    info->AddInPort(CPortVector::Make("Scale", "Size along each axis", {1, 1, 1}, 0.01f, 10000.0f));
    info->AddOutPort(std::make_unique<CPortRender>("Render", "This step of the render chain"));
    return info;
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CRenderObjectNode>()
{
    return CNodeDeclaration(DeclareRenderObjectNode());
}

bool CRenderObjectNode::Init()
{
    // Evaluated on every pull, so a "(Local)" reader sees it per element.
    m_updateOnce = false;
    m_renderIn = GetInPort<CPortRender>("Render");
    m_object = GetInPort<CPortObject>("Object");
    m_col = GetInPort<CPortColor>("Col");
    m_pos = GetInPort<CPortVector>("Pos");
    m_rot = GetInPort<CPortVector>("Rot");
    m_scale = GetInPort<CPortVector>("Scale");
    m_renderOut = GetOutPort<CPortRender>("Render");
    return m_renderIn && m_object && m_col && m_pos && m_rot && m_scale && m_renderOut;
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
