#pragma once

#include "expression/expressioncontext.h"
#include "nodes/support/trianglebuffers.h"
#include "nodes/support/triangulate.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include <span>
#include <vector>

class CPortEffect;
class CPortFloat;
class CPortInt;
class CPortObject;
class CPortVector;

// A plane cut into Delaunay triangles that are blown away, fall under
// gravity as Verlet particles, fly back home along an easing curve and start
// over with a new pattern. Triangles live in one array that only a build
// grows.
class CShatterNode : public CNode, public CPDObject
{
public:
    struct SCorner
    {
        float home[3];
        float position[3];
        float previous[3];
        float u, v;
    };
    // 40 floats.
    struct STriangle
    {
        SCorner corner[3];
        float rest[3]; // squared lengths of the edges 0-1, 1-2, 2-0
        float normal[3];
        float rebuild; // 0..1: when this piece comes home
    };
    static_assert(sizeof(STriangle) == 40 * sizeof(float));

    static constexpr float StepLength = 0.033333335f;
    static constexpr float Floor = -3.0f;
    static constexpr int TrianglesPerBatch = 1000;

    bool Init() override;
    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;
    void Draw(CRender* render) override;

    std::span<const STriangle> GetTriangles() const { return m_triangles; }
    // The node's own clock, which restarts at 0 with every pattern.
    float GetClock() const { return m_t; }
    // 0 scatters points over the plane and blows from behind it; 1 rings
    // points round a centre and blows from there.
    static int GetPatternSwitch();

private:
    friend CNodeDeclaration DeclareNode<CShatterNode>();

    void Build();
    void Blow(int pattern, float cx, float cy);
    void Fall(const float g[3]);
    void Rebuild(float since);
    void Relax();

    CPortVector* m_gravity = nullptr;
    CPortFloat* m_shatterDelay = nullptr;
    CPortFloat* m_shatterTime = nullptr;
    CPortFloat* m_rebuildTime = nullptr;
    CPortFloat* m_rebuildTimeVar = nullptr;
    CPortInt* m_numPoints = nullptr;
    CPortEffect* m_effect = nullptr;
    CPortObject* m_object = nullptr;

    // Bound like the other scripted nodes', though no script is parsed.
    CExpressionContext m_expressionContext;
    double m_pointNr = 0, m_numPointsValue = 0, m_time = 0;

    // Far past the end of a cycle, so that the first step builds.
    float m_t = 100000.0f;
    float m_accumulator = 0.0f;
    std::vector<STriangle> m_triangles;
    std::vector<SPoint3> m_points;
    std::vector<STriangleIndices> m_indices;
    CTriangleBuffers m_buffers;
};
