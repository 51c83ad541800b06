#include "nodes/render/screennode.h"

#include "render/render.h"
#include "scene/nodedeclaration.h"
#include "scene/renderlist.h"
#include "scene/scenecontext.h"

template <>
CNodeDeclaration DeclareNode<CScreenNode>()
{
    return {
        In(&CScreenNode::m_renderIn, "Render", "Previous step of the render chain"),
        In(&CScreenNode::m_viewport, "Viewport", "Part of the target drawn to, as fractions of it",
           {{0, 0, 1, 1}, {0.01f, 0.01f, 0.02f, 0.02f}, {0, 0, 0, 0}, {1, 1, 2, 2}}),
        In(&CScreenNode::m_camPos, "CamPos", "Camera position", {{0, 0, -2}, 0.1f, 10000.0f}),
        In(&CScreenNode::m_camRot, "CamRot", "Camera rotation in degrees", {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&CScreenNode::m_camFov, "CamFov", "Vertical field of view in degrees", {45.0f, 1.0f, 0.1f, 179.0f}),
        In(&CScreenNode::m_camNear, "CamNear", "Near clipping distance", {0.1f, 1.0f, 0.01f, 100000.0f}),
        In(&CScreenNode::m_camFar, "CamFar", "Far clipping distance", {1000.0f, 1.0f, 0.01f, 100000.0f}),
        In(&CScreenNode::m_scaleByAspect, "ScaleByAspect",
           "Adjust the size of any rendered objects depending on the aspect of the screen.", false),
        Out(&CScreenNode::m_renderOut, "Render", "This step of the render chain"),
    };
}

bool CScreenNode::Init()
{
    m_camera.LookAt({0, 0, 0}, {0, 0, 1}, {0, 1, 0});
    m_camera.m_fov = 45.0f;
    m_camera.m_near = 0.1f;
    m_camera.m_far = 1000.0f;
    m_camera.m_projection = CCamera::Perspective;
    return true;
}

void CScreenNode::Update(float time, CSceneContext* context)
{
    m_renderOut->m_value = this;

    m_camFov->Update(time);
    m_camNear->Update(time);
    m_camFar->Update(time);
    m_camera.m_fov = m_camFov->m_value;
    m_camera.m_near = m_camNear->m_value;
    m_camera.m_far = m_camFar->m_value;
    if (m_camera.m_near == m_camera.m_far)
        m_camera.m_far += 0.01f;

    m_camRot->Update(time);
    const auto& rot = m_camRot->m_value;
    const CMatrix rotation =
        MatrixRotation(rot[0] * DegreesToRadians, rot[1] * DegreesToRadians, rot[2] * DegreesToRadians);
    const SVec3 up = TransformPoint({0, 1, 0}, rotation);
    const SVec3 look = TransformPoint({0, 0, 1}, rotation);

    m_camPos->Update(time);
    const SVec3 eye{m_camPos->m_value[0], m_camPos->m_value[1], m_camPos->m_value[2]};
    m_camera.LookAt(eye, {eye.x + look.x, eye.y + look.y, eye.z + look.z}, up);

    if (context) {
        context->m_camera = &m_camera;
        if (context->m_render)
            context->m_render->SetCamera(m_camera);
    }
    // After SetCamera on purpose: the scaled view reaches the renderer with
    // the SetCamera of Render.
    m_scaleByAspect->Update(time);
    if (m_scaleByAspect->m_value && context) {
        for (int column = 0; column < 3; ++column)
            m_camera.m_view[size_t(column)] *= context->m_aspect;
    }
    // This pulls the chain upstream, whose nodes read the view from the context.
    UpdateInPorts(time);
}

void CScreenNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera*)
{
    if (m_renderIn->m_connections.empty())
        return;
    list->AddChainStep(this, m_renderIn->GetConnectedNode(), parents, &m_camera);
}

void CScreenNode::Render(CRender* render)
{
    render->SetViewport(m_viewport->m_x.m_value, m_viewport->m_y.m_value, m_viewport->m_w.m_value,
                        m_viewport->m_h.m_value);
    if (CPDRender* upstream = m_renderIn->m_value) {
        render->SetCamera(m_camera);
        upstream->Render(render);
    }
}
