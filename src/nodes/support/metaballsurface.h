#pragma once

#include "render/rendertypes.h"

#include <cstdint>
#include <span>
#include <vector>

// A metaball, 11 floats: the field it adds is strength / distance².
struct SMetaball
{
    float position[3];
    float velocity[3];
    float target[3];
    float timer;
    float strength;
};
static_assert(sizeof(SMetaball) == 11 * sizeof(float));

// Where a surface's triangles go: room for CMetaballSurface::MaxVertices
// vertices and as many indices. Flush hands the written part over, points
// the two arrays at fresh room and zeroes the counts; false when there is no
// more room, which ends the extraction.
class CMetaballSink
{
public:
    virtual ~CMetaballSink() = default;
    virtual bool Flush() = 0;
    // Hands over the rest at the end; unlike Flush it needs no fresh room.
    virtual void Finish()
    {
        if (m_indexCount > 0)
            Flush();
    }

    SVertexPNTC* m_vertices = nullptr;
    uint16_t* m_indices = nullptr;
    int m_vertexCount = 0;
    int m_indexCount = 0;
};

// The iso-surface of the balls' summed field in the cube -1..1, by marching
// cubes over an n³ grid. The walk starts in each ball's cell and follows the
// surface from cell to cell, so it visits only cells the surface crosses; a
// grid point's energy is computed once per extraction and shared by the up
// to eight cells around it. Points on the grid's border count as 0, which
// closes the surface at the walls.
class CMetaballSurface
{
public:
    static constexpr int MaxVertices = 3000;
    static constexpr int MaxIndices = 3000;
    // Room left for one more cell's triangles before the sink must flush.
    static constexpr int FlushAt = MaxIndices - 31;
    // Above this the three grid arrays would take hundreds of megabytes.
    static constexpr int MaxGridSize = 200;

    // Cells per axis, clamped to 2..MaxGridSize; remakes the arrays.
    void SetGridSize(int n);
    int GetGridSize() const { return m_n; }
    float GetCellSize() const { return m_cell; }

    // Writes the surface at `threshold` into `sink` and finishes it.
    void Extract(std::span<const SMetaball> balls, float threshold, CMetaballSink& sink);

    // Of the last extraction: cells marched and grid points whose energy was
    // computed.
    int GetMarchedCells() const { return m_marched; }
    int GetEnergyPoints() const { return int(m_touchedPoints.size()); }

private:
    int PointIndex(int i, int j, int k) const { return (k * (m_n + 1) + j) * (m_n + 1) + i; }
    int CellIndex(int i, int j, int k) const { return (k * m_n + j) * m_n + i; }
    float Energy(int i, int j, int k);
    // Marches a cell and answers its case index; false in `ok` when the sink
    // ran out of room.
    int March(int i, int j, int k, CMetaballSink& sink, bool& ok);
    bool Visit(int i, int j, int k);
    void PushNeighbours(int i, int j, int k, int caseIndex);
    void Clear();

    int m_n = 0;
    float m_cell = 0.0f;
    float m_threshold = 20.0f;
    std::span<const SMetaball> m_balls;
    std::vector<float> m_energy;
    std::vector<uint8_t> m_known;
    std::vector<uint8_t> m_visited;
    // What the last extraction marked, so that clearing costs what the
    // surface did and not the whole grid.
    std::vector<int> m_touchedPoints;
    std::vector<int> m_touchedCells;
    std::vector<int> m_stack;
    int m_marched = 0;
};
