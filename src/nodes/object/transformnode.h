#pragma once

#include "render/matrix.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include <array>

class CPortColor;
class CPortObject;
class CPortVector;

// Draws up to five connected objects under one transformation and colour.
class CTransformNode : public CNode, public CPDObject
{
public:
    void Update(float time, CSceneContext* context) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

private:
    friend CNodeDeclaration DeclareNode<CTransformNode>();

    CPortVector* m_pos = nullptr;
    CPortVector* m_rot = nullptr;
    CPortVector* m_scale = nullptr;
    CPortColor* m_color = nullptr;
    std::array<CPortObject*, 5> m_objects{};
    CPortObject* m_objectOut = nullptr;

    CMatrix m_world = MatrixIdentity();
};
