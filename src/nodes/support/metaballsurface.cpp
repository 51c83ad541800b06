#include "nodes/support/metaballsurface.h"

#include "render/fastmath.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

// Corner k of a cell as (x, y, z) offsets; case index bit k is corner k.
constexpr int kCorner[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 0, 1}, {0, 0, 1},
                               {0, 1, 0}, {1, 1, 0}, {1, 1, 1}, {0, 1, 1}};
// Each edge runs from its lower corner to its upper one along one axis.
constexpr int kEdge[12][2] = {{0, 1}, {1, 2}, {3, 2}, {0, 3}, {4, 5}, {5, 6},
                              {7, 6}, {4, 7}, {0, 4}, {1, 5}, {3, 7}, {2, 6}};

// The six faces: the neighbour bit, the step to the neighbour and the
// corners on that face as a mask.
struct SFace
{
    int bit;
    int step[3];
    int mask;
};
constexpr SFace kFaces[6] = {{1, {1, 0, 0}, 102}, {2, {-1, 0, 0}, 153}, {4, {0, 1, 0}, 240},
                             {8, {0, -1, 0}, 15},  {16, {0, 0, 1}, 204}, {32, {0, 0, -1}, 51}};

// Up to 12 triangles a cell with a fixed rule for ambiguous faces; rows hold
// edge numbers in threes, ended by -1.
constexpr int kMaxRow = 12 * 3 + 1;

struct STables
{
    std::array<uint8_t, 256> neighbours{};
    std::array<std::array<int8_t, kMaxRow>, 256> triangles{};

    STables()
    {
        for (int c = 0; c < 256; ++c) {
            for (const SFace& face : kFaces) {
                const int set = c & face.mask;
                if (set != 0 && set != face.mask)
                    neighbours[size_t(c)] |= uint8_t(face.bit);
            }
        }
        MakeTriangles();
    }

    static int EdgeOf(int a, int b)
    {
        for (int e = 0; e < 12; ++e)
            if ((kEdge[e][0] == a && kEdge[e][1] == b) || (kEdge[e][0] == b && kEdge[e][1] == a))
                return e;
        return -1;
    }

    // The face's corners in turn, counter-clockwise about its outward normal.
    static std::array<int, 4> FaceCycle(const SFace& face)
    {
        std::array<int, 4> corners{};
        int n = 0;
        for (int k = 0; k < 8; ++k)
            if (face.mask & (1 << k))
                corners[size_t(n++)] = k;
        const int axis = face.step[0] ? 0 : face.step[1] ? 1 : 2;
        const int u = (axis + 1) % 3, v = (axis + 2) % 3;
        const float sign = float(face.step[axis]);
        const auto angle = [&](int k) {
            return std::atan2((float(kCorner[k][v]) - 0.5f) * sign, float(kCorner[k][u]) - 0.5f);
        };
        std::sort(corners.begin(), corners.end(), [&](int a, int b) { return angle(a) < angle(b); });
        return corners;
    }

    // The contour on each face joins where the field enters the inside to
    // where it leaves it, walking the face's corners in turn; on a face with
    // two inside corners across a diagonal that keeps them apart. Both cells
    // that share a face decide alike, so the surface has no cracks. The
    // pieces chain into loops, each fanned into triangles.
    void MakeTriangles()
    {
        std::array<std::array<int, 4>, 6> cycles{};
        for (size_t f = 0; f < 6; ++f)
            cycles[f] = FaceCycle(kFaces[f]);
        for (int c = 0; c < 256; ++c) {
            std::array<int, 12> next;
            next.fill(-1);
            for (const auto& q : cycles) {
                int crossings[4], enters[4], count = 0;
                for (int m = 0; m < 4; ++m) {
                    const int a = q[size_t(m)], b = q[size_t((m + 1) % 4)];
                    const bool ina = c & (1 << a), inb = c & (1 << b);
                    if (ina != inb) {
                        crossings[count] = EdgeOf(a, b);
                        enters[count++] = inb ? 1 : 0;
                    }
                }
                for (int m = 0; m < count; ++m)
                    if (enters[m])
                        next[size_t(crossings[m])] = crossings[(m + 1) % count];
            }
            auto& row = triangles[size_t(c)];
            row.fill(-1);
            size_t out = 0;
            std::array<bool, 12> used{};
            for (int start = 0; start < 12; ++start) {
                if (next[size_t(start)] < 0 || used[size_t(start)])
                    continue;
                int loop[12], length = 0;
                for (int e = start; e >= 0 && !used[size_t(e)]; e = next[size_t(e)]) {
                    used[size_t(e)] = true;
                    loop[length++] = e;
                }
                for (int i = 1; i + 1 < length; ++i) {
                    row[out++] = int8_t(loop[0]);
                    row[out++] = int8_t(loop[i]);
                    row[out++] = int8_t(loop[i + 1]);
                }
            }
        }
    }
};

const STables& Tables()
{
    static const STables tables;
    return tables;
}

// Draw order within a triangle: the table's 0, then 2, then 1.
constexpr int kWinding[3] = {0, 1, -1};

} // namespace

void CMetaballSurface::SetGridSize(int n)
{
    n = std::clamp(n, 2, MaxGridSize);
    if (n == m_n)
        return;
    m_n = n;
    m_cell = 2.0f / float(n);
    const size_t points = size_t(n + 1) * size_t(n + 1) * size_t(n + 1);
    m_energy.assign(points, 0.0f);
    m_known.assign(points, 0);
    m_visited.assign(size_t(n) * size_t(n) * size_t(n), 0);
    m_touchedPoints.clear();
    m_touchedCells.clear();
}

float CMetaballSurface::Energy(int i, int j, int k)
{
    const int index = PointIndex(i, j, k);
    if (m_known[size_t(index)])
        return m_energy[size_t(index)];
    m_known[size_t(index)] = 1;
    m_touchedPoints.push_back(index);
    float e = 0.0f;
    if (i > 0 && j > 0 && k > 0 && i < m_n && j < m_n && k < m_n) {
        const float x = float(i) * m_cell - 1.0f, y = float(j) * m_cell - 1.0f, z = float(k) * m_cell - 1.0f;
        for (const SMetaball& ball : m_balls) {
            const float dx = x - ball.position[0], dy = y - ball.position[1], dz = z - ball.position[2];
            e += ball.strength / std::max(dx * dx + dy * dy + dz * dz, 0.0001f);
        }
    }
    m_energy[size_t(index)] = e;
    return e;
}

bool CMetaballSurface::Visit(int i, int j, int k)
{
    const int index = CellIndex(i, j, k);
    if (m_visited[size_t(index)])
        return false;
    m_visited[size_t(index)] = 1;
    m_touchedCells.push_back(index);
    return true;
}

int CMetaballSurface::March(int i, int j, int k, CMetaballSink& sink, bool& ok)
{
    ++m_marched;
    float e[8];
    int caseIndex = 0;
    for (int c = 0; c < 8; ++c) {
        e[c] = Energy(i + kCorner[c][0], j + kCorner[c][1], k + kCorner[c][2]);
        if (e[c] > m_threshold)
            caseIndex |= 1 << c;
    }
    const int base[3] = {i, j, k};
    int edgeVertex[12];
    std::fill(std::begin(edgeVertex), std::end(edgeVertex), -1);
    const auto& row = Tables().triangles[size_t(caseIndex)];
    for (size_t t = 0; row[t] >= 0; t += 3) {
        for (int v = 0; v < 3; ++v) {
            const int edge = row[t + size_t(v + kWinding[v])];
            if (edgeVertex[edge] < 0) {
                const int a = kEdge[edge][0], b = kEdge[edge][1];
                const float f = (m_threshold - e[a]) / (e[b] - e[a]);
                SVertexPNTC& out = sink.m_vertices[sink.m_vertexCount];
                // From the grid indices, so that the cell across the edge
                // puts its vertex at the very same place.
                for (int axis = 0; axis < 3; ++axis)
                    out.position[axis] = (float(base[axis] + kCorner[a][axis]) +
                                          float(kCorner[b][axis] - kCorner[a][axis]) * f) *
                                             m_cell -
                                         1.0f;
                SVec3 g;
                for (const SMetaball& ball : m_balls) {
                    const SVec3 d{out.position[0] - ball.position[0], out.position[1] - ball.position[1],
                                  out.position[2] - ball.position[2]};
                    const float d2 = Dot(d, d);
                    g = g + d * (ball.strength * 2.0f / std::max(d2 * d2, 1e-12f));
                }
                const SVec3 n = FastNormalize(g);
                out.normal[0] = n.x;
                out.normal[1] = n.y;
                out.normal[2] = n.z;
                out.uv[0] = n.x * 0.5f + 0.5f;
                out.uv[1] = 0.5f - n.y * 0.5f;
                out.color = 0xFFFFFFFFu;
                edgeVertex[edge] = sink.m_vertexCount++;
            }
            sink.m_indices[sink.m_indexCount++] = uint16_t(edgeVertex[edge]);
        }
    }
    if (sink.m_indexCount > FlushAt)
        ok = sink.Flush() && sink.m_vertices && sink.m_indices;
    return caseIndex;
}

void CMetaballSurface::PushNeighbours(int i, int j, int k, int caseIndex)
{
    const uint8_t bits = Tables().neighbours[size_t(caseIndex)];
    for (const SFace& face : kFaces) {
        if (!(bits & face.bit))
            continue;
        const int x = i + face.step[0], y = j + face.step[1], z = k + face.step[2];
        if (x < 0 || y < 0 || z < 0 || x >= m_n || y >= m_n || z >= m_n)
            continue;
        if (Visit(x, y, z)) {
            m_stack.push_back(x);
            m_stack.push_back(y);
            m_stack.push_back(z);
        }
    }
}

void CMetaballSurface::Clear()
{
    for (int index : m_touchedPoints)
        m_known[size_t(index)] = 0;
    for (int index : m_touchedCells)
        m_visited[size_t(index)] = 0;
    m_touchedPoints.clear();
    m_touchedCells.clear();
    m_stack.clear();
}

void CMetaballSurface::Extract(std::span<const SMetaball> balls, float threshold, CMetaballSink& sink)
{
    if (m_n == 0)
        SetGridSize(2);
    Clear();
    m_marched = 0;
    m_balls = balls;
    m_threshold = threshold;
    bool ok = sink.m_vertices && sink.m_indices;
    for (const SMetaball& ball : balls) {
        if (!ok)
            break;
        int cell[3];
        for (int axis = 0; axis < 3; ++axis)
            cell[axis] = std::clamp(int((ball.position[axis] + 1.0f) / m_cell + 0.5f), 0, m_n - 1);
        auto [i, j, k] = cell;
        if (!Visit(i, j, k))
            continue;
        int caseIndex = March(i, j, k, sink, ok);
        // A ball deep inside its surface: look for the surface below it.
        // The border's zero energy ends the walk at the latest at z = 0.
        while (caseIndex == 255 && ok) {
            if (--k < 0 || !Visit(i, j, k))
                break;
            caseIndex = March(i, j, k, sink, ok);
        }
        if (caseIndex == 255)
            continue;
        PushNeighbours(i, j, k, caseIndex);
        while (!m_stack.empty() && ok) {
            const int z = m_stack.back();
            m_stack.pop_back();
            const int y = m_stack.back();
            m_stack.pop_back();
            const int x = m_stack.back();
            m_stack.pop_back();
            PushNeighbours(x, y, z, March(x, y, z, sink, ok));
        }
    }
    if (ok)
        sink.Finish();
}
