#pragma once

#include "scene/node.h"
#include "scene/pdrender.h"
#include "scene/renderlist.h"

class CPortColor;
class CPortObject;
class CPortRender;
class CPortVector;

// A render chain step that draws one object, placed, turned, scaled and
// tinted, from a render list of its own.
class CRenderObjectNode : public CNode, public CPDRender
{
public:
    void Update(float time, CSceneContext* context) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;
    void Render(CRender* render) override;

    CRenderList m_list;

private:
    friend CNodeDeclaration DeclareNode<CRenderObjectNode>();

    CPortRender* m_renderIn = nullptr;
    CPortObject* m_object = nullptr;
    CPortColor* m_col = nullptr;
    CPortVector* m_pos = nullptr;
    CPortVector* m_rot = nullptr;
    CPortVector* m_scale = nullptr;
    CPortRender* m_renderOut = nullptr;
};
