#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

// One side of a clipped Voronoi edge: its ends and the site whose cell it
// bounds. Every edge gives two, one per site, with the ends reversed, so that
// the triangle (site, first end, second end) winds alike in every cell.
struct VoronoiEdge
{
    float x1, y1, x2, y2;
    int site;
};
static_assert(sizeof(VoronoiEdge) == 20);

// Records whose addresses stay put until Reset, which keeps the memory for
// the next run.
template <class T>
class CVoronoiPool
{
public:
    T* New()
    {
        if (m_used == m_blocks.size() * BlockSize)
            m_blocks.push_back(std::make_unique<T[]>(BlockSize));
        T* item = &m_blocks[m_used / BlockSize][m_used % BlockSize];
        ++m_used;
        *item = T{};
        return item;
    }
    void Reset() { m_used = 0; }
    // Room for n records before the next allocation.
    void Reserve(size_t n)
    {
        while (m_blocks.size() * BlockSize < n)
            m_blocks.push_back(std::make_unique<T[]>(BlockSize));
    }

private:
    static constexpr size_t BlockSize = 256;
    std::vector<std::unique_ptr<T[]>> m_blocks;
    size_t m_used = 0;
};

// Fortune's sweep over a set of sites, clipped to a box. All working records
// live in pools that are emptied, not freed, at each run.
class CVoronoi
{
public:
    // `sites` holds `count` records `stride` bytes apart, each starting with
    // its x and y as floats. Edges of sites nearer than minDist are left out.
    bool GenerateVoronoi(const void* sites, int count, size_t stride, float minX, float maxX, float minY, float maxY,
                         float minDist);
    std::span<const VoronoiEdge> GetEdges() const { return m_edges; }

private:
    struct SPoint
    {
        float x = 0, y = 0;
        int index = 0;
    };
    struct SEdge
    {
        float a = 0, b = 0, c = 0;
        SPoint* ep[2] = {nullptr, nullptr};
        SPoint* reg[2] = {nullptr, nullptr};
        // Both half-edges of an edge may still be on the sweep line at the
        // end: the edge is clipped once.
        bool clipped = false;
    };
    struct SHalfEdge
    {
        SHalfEdge* left = nullptr;
        SHalfEdge* right = nullptr;
        SEdge* edge = nullptr;
        bool deleted = false;
        int pm = 0;
        SPoint* vertex = nullptr;
        float ystar = 0;
        SHalfEdge* next = nullptr; // in its queue bucket
    };

    void voronoi();
    SPoint* NextSite();
    SEdge* Bisect(SPoint* s1, SPoint* s2);
    SHalfEdge* NewHalfEdge(SEdge* e, int pm);
    SPoint* Intersect(SHalfEdge* el1, SHalfEdge* el2);
    bool RightOf(SHalfEdge* el, const SPoint& p) const;
    void EndPoint(SEdge* e, int side, SPoint* s);
    void ClipLine(SEdge* e);

    // The list of half-edges crossing the sweep line, with its hash.
    SHalfEdge* LeftBound(const SPoint& p);
    SHalfEdge* HashEntry(int bucket);
    void Insert(SHalfEdge* lb, SHalfEdge* he);
    void Remove(SHalfEdge* he);
    SPoint* LeftRegion(SHalfEdge* he) const;
    SPoint* RightRegion(SHalfEdge* he) const;

    // The circle events, bucketed by y.
    int Bucket(const SHalfEdge* he);
    void QueueInsert(SHalfEdge* he, SPoint* v, float offset);
    void QueueDelete(SHalfEdge* he);
    SPoint QueueMin();
    SHalfEdge* QueueExtractMin();

    std::vector<SPoint> m_sites;
    size_t m_siteIndex = 0;
    SPoint* m_bottomSite = nullptr;
    float m_xmin = 0, m_xmax = 0, m_ymin = 0, m_ymax = 0, m_deltaX = 1, m_deltaY = 1;
    float m_boxMinX = 0, m_boxMaxX = 0, m_boxMinY = 0, m_boxMaxY = 0, m_minDist = 0;

    CVoronoiPool<SPoint> m_vertices;
    CVoronoiPool<SEdge> m_edgePool;
    CVoronoiPool<SHalfEdge> m_halfEdges;

    std::vector<SHalfEdge*> m_hash;
    SHalfEdge* m_leftEnd = nullptr;
    SHalfEdge* m_rightEnd = nullptr;

    std::vector<SHalfEdge> m_queue; // bucket heads
    int m_queueCount = 0;
    int m_queueMin = 0;

    std::vector<VoronoiEdge> m_edges;
};
