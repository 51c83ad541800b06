#include "mesh/mesh.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

uint32_t PowerOfTwoNotAbove(uint32_t n)
{
    uint32_t p = 1;
    while (p <= n / 2)
        p *= 2;
    return p;
}

// Chained hash of vertices by value. Nodes come in blocks of 4096 so a weld
// of millions of vertices does not allocate per vertex.
class CVertexTable
{
public:
    explicit CVertexTable(uint32_t buckets) : m_mask(buckets - 1), m_heads(buckets, nullptr) {}

    // The vertex equal to `v` already in the table, or nullptr after adding it.
    const CMeshVertexA* FindOrAdd(const CMeshVertexA& v)
    {
        SNode*& head = m_heads[VertexHash(v) & m_mask];
        for (SNode* node = head; node; node = node->next)
            if (*node->key == v)
                return node->key;
        SNode* node = NewNode();
        node->next = head;
        node->key = &v;
        head = node;
        return nullptr;
    }

private:
    struct SNode
    {
        SNode* next;
        const CMeshVertexA* key;
    };
    static constexpr int BlockNodes = 4096;

    SNode* NewNode()
    {
        if (m_used == BlockNodes) {
            m_blocks.push_back(std::make_unique<SNode[]>(BlockNodes));
            m_used = 0;
        }
        return &m_blocks.back()[size_t(m_used++)];
    }

    uint32_t m_mask;
    std::vector<SNode*> m_heads;
    std::vector<std::unique_ptr<SNode[]>> m_blocks;
    int m_used = BlockNodes;
};

} // namespace

void CMesh::WeldExact()
{
    const size_t count = m_vertices.size();
    for (CMeshVertexA& v : m_vertices)
        v.temp = 0;
    for (const CMeshFace& face : m_faces)
        for (int i = 0; i < face.count; ++i)
            m_vertices[size_t(face.vertices[i])].temp = 1;

    // The table points into m_vertices, which must not grow while it lives.
    CVertexTable table(PowerOfTwoNotAbove(uint32_t(count) + 4096));
    std::vector<int32_t> remap(count, -1);
    std::vector<int32_t> order;
    order.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        CMeshVertexA& v = m_vertices[i];
        if (v.temp == 0)
            continue;
        if (const CMeshVertexA* equal = table.FindOrAdd(v)) {
            remap[i] = equal->temp;
            continue;
        }
        v.temp = int32_t(order.size());
        remap[i] = v.temp;
        order.push_back(int32_t(i));
    }
    if (order.size() == count)
        return;
    // Each kept vertex moves to an equal or lower index, in ascending order.
    for (size_t n = 0; n < order.size(); ++n)
        m_vertices[n] = m_vertices[size_t(order[n])];
    m_vertices.resize(order.size());
    for (CMeshFace& face : m_faces)
        for (int i = 0; i < face.count; ++i)
            face.vertices[i] = remap[size_t(face.vertices[i])];
}

void CMesh::WeldDistance(float epsilon)
{
    const uint32_t count = uint32_t(m_vertices.size());
    const uint32_t largest = count ? PowerOfTwoNotAbove(count) : 0;
    const uint32_t buckets = (largest & ~15u) < 4096 ? 256 : largest / 16;
    const float cell = epsilon * 4.0f;
    const float limit = epsilon * epsilon;
    std::vector<int32_t> heads(buckets, -1);
    std::vector<int32_t> next(count, -1);
    // With epsilon 0 every cell index would be infinite; one cell holds all
    // and only exact duplicates can match.
    auto cellOf = [&](float coordinate) -> int32_t {
        if (!(cell > 0.0f))
            return 0;
        const float c = coordinate / cell;
        return std::fabs(c) < 2.0e9f ? int32_t(c) : (c < 0 ? INT32_MIN : INT32_MAX);
    };
    auto bucketOf = [&](int32_t x, int32_t y, int32_t z) {
        return (uint32_t(x) * 0x8DA6B343u + uint32_t(y) * 0xD8163841u + uint32_t(z) * 0x5BD1E995u) & (buckets - 1);
    };
    for (uint32_t i = 0; i < count; ++i) {
        float* p = m_vertices[i].position;
        int32_t low[3], high[3];
        for (int a = 0; a < 3; ++a) {
            low[a] = cellOf(p[a] - epsilon);
            high[a] = std::min(cellOf(p[a] + epsilon), low[a] + 1);
        }
        uint32_t visited[8];
        int visitedCount = 0;
        bool snapped = false;
        for (int32_t x = low[0]; x <= high[0] && !snapped; ++x)
            for (int32_t y = low[1]; y <= high[1] && !snapped; ++y)
                for (int32_t z = low[2]; z <= high[2] && !snapped; ++z) {
                    const uint32_t bucket = bucketOf(x, y, z);
                    if (std::find(visited, visited + visitedCount, bucket) != visited + visitedCount)
                        continue;
                    visited[visitedCount++] = bucket;
                    for (int32_t j = heads[bucket]; j >= 0; j = next[size_t(j)]) {
                        const float* q = m_vertices[size_t(j)].position;
                        const float dx = p[0] - q[0], dy = p[1] - q[1], dz = p[2] - q[2];
                        if (dx * dx + dy * dy + dz * dz < limit) {
                            std::copy(q, q + 3, p);
                            snapped = true;
                            break;
                        }
                    }
                }
        if (snapped)
            continue;
        const uint32_t own = bucketOf(cellOf(p[0]), cellOf(p[1]), cellOf(p[2]));
        next[i] = heads[own];
        heads[own] = int32_t(i);
    }
    WeldExact();
}

std::vector<int32_t> CMesh::BuildAdjacency()
{
    std::vector<int32_t> representative = PositionMap();
    for (size_t i = 0; i < representative.size(); ++i)
        if (representative[i] < 0)
            representative[i] = int32_t(i);

    struct STempEdge
    {
        int32_t corner, low, high;
    };
    std::vector<STempEdge> edges;
    for (size_t f = 0; f < m_faces.size(); ++f) {
        const CMeshFace& face = m_faces[f];
        for (int c = 0; c < face.count; ++c) {
            const int32_t a = representative[size_t(face.vertices[c])];
            const int32_t b = representative[size_t(face.vertices[(c + 1) % face.count])];
            edges.push_back({int32_t(f * 4 + size_t(c)), std::min(a, b), std::max(a, b)});
        }
    }
    std::sort(edges.begin(), edges.end(),
              [](const STempEdge& x, const STempEdge& y) { return x.low != y.low ? x.low < y.low : x.high < y.high; });

    std::vector<int32_t> adjacency(m_faces.size() * 4, -1);
    for (size_t run = 0; run < edges.size();) {
        size_t end = run;
        while (end < edges.size() && edges[end].low == edges[run].low && edges[end].high == edges[run].high)
            ++end;
        for (size_t k = run; k + 1 < end; k += 2) {
            adjacency[size_t(edges[k].corner)] = edges[k + 1].corner;
            adjacency[size_t(edges[k + 1].corner)] = edges[k].corner;
        }
        run = end;
    }
    return adjacency;
}
