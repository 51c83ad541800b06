#pragma once

#include "render/camera.h"
#include "scene/node.h"
#include "scene/pdrender.h"

class CPortBool;
class CPortFloat;
class CPortRect;
class CPortRender;
class CPortVector;

// The end of a render chain: a viewport of the target and the camera under
// which everything upstream is drawn. The first Screen of a scene is its root.
class CScreenNode : public CNode, public CPDRender
{
public:
    bool Init() override;
    void Update(float time, CSceneContext* context) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;
    void Render(CRender* render) override;

    CCamera m_camera;

private:
    friend CNodeDeclaration DeclareNode<CScreenNode>();

    CPortRender* m_renderIn = nullptr;
    CPortRect* m_viewport = nullptr;
    CPortVector* m_camPos = nullptr;
    CPortVector* m_camRot = nullptr;
    CPortFloat* m_camFov = nullptr;
    CPortFloat* m_camNear = nullptr;
    CPortFloat* m_camFar = nullptr;
    CPortBool* m_scaleByAspect = nullptr;
    CPortRender* m_renderOut = nullptr;
};
