#pragma once

#include "render/renderbatcher.h"

#include <cstdint>
#include <vector>

class CCamera;

// Polylines drawn as ribbons that turn to face the viewer, with a width per
// point: trails and other lines that need a body.
class CRenderVolumeLines : public CRenderBatcher
{
public:
    struct SVertex
    {
        float x, y, z;
        uint32_t color;
        float width;
        float v; // position along the polyline, the texture's v
    };
    struct SPolyline
    {
        int first; // first vertex
        int end;   // one past the last vertex
        float uExtent;
    };

    int m_RenderBufferQuads = 1000;

    // Forgets all polylines and vertices; the storage stays.
    void Reset();
    // Room for that many polylines and vertices, and for their quads.
    void Reserve(int polylines, int vertices);
    // Appends a polyline of `vertices` points at the next free vertices and
    // answers the first of them for writing.
    SVertex* AddPolyline(int vertices, float uExtent = 1.0f);
    int GetPolylineCount() const { return m_polylineCount; }
    int GetVertexCount() const { return m_vertexCount; }
    int GetQuadCount() const { return m_quadCount; }
    const SQuad* GetQuads() const { return m_quads.data(); }

    // Turns every polyline of two or more points into quads that face the
    // camera at `camera`'s position.
    void BuildQuads(const CCamera& camera);

    bool RestoreDevice(CRender* render) override;
    void AddToRenderList(CRenderList* list, CRenderItemList* parents, CCamera* view, CPDEffect* effect);
    void Draw(CRender* render) override;

private:
    std::vector<SPolyline> m_polylines;
    std::vector<SVertex> m_vertices;
    std::vector<SQuad> m_quads;
    int m_polylineCount = 0;
    int m_vertexCount = 0;
    int m_quadCount = 0;
};
