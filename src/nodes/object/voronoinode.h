#pragma once

#include "expression/expressioncontext.h"
#include "nodes/support/trianglebuffers.h"
#include "nodes/support/voronoi.h"
#include "render/renderlines.h"
#include "render/renderpoints.h"
#include "render/renderquads.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include <span>
#include <string>
#include <vector>

class CPortColor;
class CPortEffect;
class CPortFloat;
class CPortInt;
class CPortObject;
class CPortString;

// Sites in the square -1..1 that a script moves, with their Voronoi diagram
// computed anew every frame: cells drawn as triangles fanned from each site,
// edges as lines or quads, sites as points.
class CVoronoiNode : public CNode, public CPDObject
{
public:
    // 16 floats.
    struct SSite
    {
        float x, y;
        float vx, vy;
        float cellColor[4];
        float lineColor[4];
        float pointColor[4];
    };
    static_assert(sizeof(SSite) == 64);

    static constexpr int TrianglesPerBatch = 1000;

    bool Init() override;
    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;
    void Draw(CRender* render) override;

    std::span<const SSite> GetSites() const { return {m_sites.data(), size_t(m_count)}; }
    std::span<const VoronoiEdge> GetEdges() const { return m_voronoi.GetEdges(); }
    // The cell triangle of edge record i as Draw writes it: site, first end,
    // second end.
    void CellTriangle(int i, SVertexPNTBTC out[3]) const;
    bool UsesQuads() const;
    const CRenderLines& GetLines() const { return m_lines; }
    const CRenderQuads& GetQuads() const { return m_quads; }
    const CRenderPoints& GetPoints() const { return m_points; }

private:
    friend CNodeDeclaration DeclareNode<CVoronoiNode>();

    void Resize(int count);
    void FillEdges();
    void FillPoints();

    CPortInt* m_numPoints = nullptr;
    CPortFloat* m_lineWidth = nullptr;
    CPortFloat* m_pointSize = nullptr;
    CPortColor* m_lineColor = nullptr;
    CPortColor* m_pointColor = nullptr;
    CPortColor* m_cellColor = nullptr;
    CPortInt* m_randomSeed = nullptr;
    CPortString* m_expression = nullptr;
    CPortEffect* m_pointEffect = nullptr;
    CPortEffect* m_lineEffect = nullptr;
    CPortEffect* m_cellEffect = nullptr;
    CPortObject* m_object = nullptr;

    CExpressionContext m_expressionContext;
    bool m_parsed = false;
    double m_pointNr = 0, m_numPointsValue = 0, m_time = 0;
    double m_pos[2] = {}, m_vel[2] = {};
    double m_col[4] = {};

    std::vector<SSite> m_sites;
    int m_count = 0;
    CVoronoi m_voronoi;
    CRenderPoints m_points;
    CRenderLines m_lines;
    CRenderQuads m_quads;
    CTriangleBuffers m_buffers;
};
