#pragma once

#include "render/matrix.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include <vector>

class CPortBool;
class CPortColor;
class CPortInt;
class CPortObject;
class CPortVector;

// Draws a connected object several times in a row, each copy moved, turned
// and scaled a step further than the one before.
class CCloneNode : public CNode, public CPDObject
{
public:
    void Update(float time, CSceneContext* context) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

    int GetCount() const { return m_count; }
    const CMatrix& GetWorld(int clone) const { return m_worlds[size_t(clone)]; }

private:
    friend CNodeDeclaration DeclareNode<CCloneNode>();

    CPortInt* m_numClones = nullptr;
    CPortVector* m_pos = nullptr;
    CPortVector* m_rot = nullptr;
    CPortVector* m_scale = nullptr;
    CPortVector* m_posChange = nullptr;
    CPortVector* m_rotChange = nullptr;
    CPortVector* m_scaleChange = nullptr;
    CPortColor* m_color = nullptr;
    CPortBool* m_center = nullptr;
    CPortObject* m_objectIn = nullptr;
    CPortObject* m_objectOut = nullptr;

    // Grows to the clone count and never shrinks.
    std::vector<CMatrix> m_worlds;
    int m_count = 0;
};
