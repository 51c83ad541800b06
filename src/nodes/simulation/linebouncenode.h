#pragma once

#include "render/renderlines.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include <vector>

class CPortBool;
class CPortColor;
class CPortEffect;
class CPortFloat;
class CPortInt;
class CPortObject;

// Closed line loops whose corners bounce about inside a box, each corner on
// its own.
class CLineBounceNode : public CNode, public CPDObject
{
public:
    static constexpr int MaxPoints = 100;

    // Position in the box -1 to 1 on each axis; the box is scaled when drawn.
    struct SPoint
    {
        float position[3] = {};
        float velocity[3] = {};
    };

    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

    int GetObjectCount() const { return m_objects; }
    SPoint& Point(int object, int k) { return m_points[size_t(object * MaxPoints + k)]; }
    const CRenderLines& GetLines() const { return m_lines; }

private:
    friend CNodeDeclaration DeclareNode<CLineBounceNode>();

    void Scatter(float width, float height, float depth);
    void Move(float dt);
    void FillLines(float width, float height, float depth);

    CPortEffect* m_effect = nullptr;
    CPortObject* m_objectOut = nullptr;
    CPortColor* m_color = nullptr;
    CPortFloat* m_pointSpeed = nullptr;
    CPortInt* m_numObjects = nullptr;
    CPortInt* m_numPointsPerObj = nullptr;
    CPortInt* m_numTrails = nullptr;
    CPortFloat* m_width = nullptr;
    CPortFloat* m_height = nullptr;
    CPortFloat* m_depth = nullptr;
    CPortBool* m_adjustForAspect = nullptr;

    std::vector<SPoint> m_points; // MaxPoints for each object
    int m_objects = 0;
    int m_pointsPerObject = 0;
    float m_lastAspect = 0.0f;
    CRenderLines m_lines;
};
