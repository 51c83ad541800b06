#pragma once

#include "render/matrix.h"
#include "render/renderlines.h"
#include "render/renderpoints.h"
#include "render/renderquads.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include <array>
#include <list>

class CPortColor;
class CPortEffect;
class CPortFloat;
class CPortInt;
class CPortObject;
class CPortVector;

// A stack of objects along a turning axis. Each object holds the ports as
// they were some frames ago, so a change ripples down the stack: the first
// follows at once, the last NumObjects - 1 frames late. Each can have an
// outline and a point at each corner.
class CDriftcrestNode : public CNode, public CPDObject
{
public:
    // One object of the stack: a snapshot of the ports and its matrix.
    struct SObjectState
    {
        std::array<float, 3> rotation{0, 0, 0};
        std::array<float, 3> scale{1, 1, 1};
        std::array<float, 3> distance{0, 0, 0};
        std::array<float, 3> pivot{0, 0, 0};
        std::array<float, 4> objectColor{1, 1, 1, 1};
        std::array<float, 4> outlineColor{0, 0, 0, 0};
        std::array<float, 4> pointColor{0, 0, 0, 0};
        std::array<float, 3> pointSize{1, 1, 1};
        CMatrix matrix = MatrixIdentity();
    };

    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

    const std::list<SObjectState>& GetStates() const { return m_states; }
    bool OutlineSeen() const { return m_outlineSeen; }
    bool PointSeen() const { return m_pointSeen; }
    const CRenderQuads& GetQuads() const { return m_quads; }
    const CRenderLines& GetLines() const { return m_lines; }
    const CRenderPoints& GetPoints() const { return m_points; }

private:
    friend CNodeDeclaration DeclareNode<CDriftcrestNode>();

    void TakeSnapshot();
    void Resize(int count);
    void Place();
    void Fill();
    bool ObjectConnected() const;
    bool DrawsOutline() const;
    bool DrawsPoints() const;

    CPortEffect* m_pointEffect = nullptr;
    CPortObject* m_pointObject = nullptr;
    CPortEffect* m_outlineEffect = nullptr;
    CPortEffect* m_effect = nullptr;
    CPortObject* m_objectIn = nullptr;
    CPortObject* m_objectOut = nullptr;
    CPortInt* m_numObjects = nullptr;
    CPortFloat* m_objectYDelta = nullptr;
    CPortVector* m_centerAxisRot = nullptr;
    CPortVector* m_objectCAxisRot = nullptr;
    CPortVector* m_objectRot = nullptr;
    CPortVector* m_objectScale = nullptr;
    CPortVector* m_centerAxisDist = nullptr;
    CPortColor* m_objectCol = nullptr;
    CPortColor* m_pointCol = nullptr;
    CPortColor* m_outlineCol = nullptr;
    CPortVector* m_pointSize = nullptr;
    CPortVector* m_objectPivotPos = nullptr;
    CPortInt* m_primType = nullptr;

    SObjectState m_current;
    // Shifted by one each frame; splicing moves a state without allocating.
    std::list<SObjectState> m_states;
    bool m_firstRun = true;
    bool m_outlineSeen = false;
    bool m_pointSeen = false;
    CRenderQuads m_quads;
    CRenderLines m_lines;
    CRenderPoints m_points;
};
