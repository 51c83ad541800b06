#pragma once

#include "scene/node.h"
#include "scene/pdobject.h"

class CPortEffect;
class CPortInt;
class CPortMesh;
class CPortObject;

// Draws a mesh NumInstances times in one instanced draw; the effect places
// each copy from its instance id.
class CMeshInstancerNode : public CNode, public CPDObject
{
public:
    void Update(float time, CSceneContext* context) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;
    void Draw(CRender* render) override;

private:
    friend CNodeDeclaration DeclareNode<CMeshInstancerNode>();

    CPortEffect* m_effect = nullptr;
    CPortMesh* m_mesh = nullptr;
    CPortInt* m_numInstances = nullptr;
    CPortObject* m_object = nullptr;
};
