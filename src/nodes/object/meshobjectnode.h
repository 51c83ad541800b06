#pragma once

#include "scene/node.h"
#include "scene/pdobject.h"

class CPortEffect;
class CPortMesh;
class CPortObject;

// Draws a mesh with an effect: one render item per parent, sharing the mesh's
// device buffers. A changed mesh input asks for the mesh to be generated anew.
class CMeshObjectNode : public CNode, public CPDObject
{
public:
    void Update(float time, CSceneContext* context) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

private:
    friend CNodeDeclaration DeclareNode<CMeshObjectNode>();

    CPortEffect* m_effect = nullptr;
    CPortMesh* m_mesh = nullptr;
    CPortObject* m_object = nullptr;
};
