#pragma once

#include "scene/node.h"
#include "scene/pdrender.h"

class CPortColor;
class CPortRender;

// Starts a render chain by filling the viewport with one colour.
class CClearNode : public CNode, public CPDRender
{
public:
    void Update(float time, CSceneContext* context) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;
    void Render(CRender* render) override;

private:
    friend CNodeDeclaration DeclareNode<CClearNode>();

    CPortRender* m_renderOut = nullptr;
    CPortColor* m_color = nullptr;
};
