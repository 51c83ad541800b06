#include "nodes/support/voronoi.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr int LE = 0;
constexpr int RE = 1;

} // namespace

bool CVoronoi::GenerateVoronoi(const void* sites, int count, size_t stride, float minX, float maxX, float minY,
                               float maxY, float minDist)
{
    m_vertices.Reset();
    m_edgePool.Reset();
    m_halfEdges.Reset();
    m_edges.clear();
    m_sites.clear();
    const auto* bytes = static_cast<const unsigned char*>(sites);
    for (int i = 0; i < count; ++i) {
        float xy[2];
        std::memcpy(xy, bytes + size_t(i) * stride, sizeof(xy));
        if (std::isfinite(xy[0]) && std::isfinite(xy[1]))
            m_sites.push_back({xy[0], xy[1], i});
    }
    std::sort(m_sites.begin(), m_sites.end(),
              [](const SPoint& a, const SPoint& b) { return a.y < b.y || (a.y == b.y && a.x < b.x); });
    // Two sites on one spot have no bisector: the later one has no cell.
    m_sites.erase(std::unique(m_sites.begin(), m_sites.end(),
                              [](const SPoint& a, const SPoint& b) { return a.x == b.x && a.y == b.y; }),
                  m_sites.end());
    if (m_sites.size() < 2)
        return true;
    // The most a sweep over n sites can use: a site event makes an edge,
    // two half-edges and two candidate vertices; each of the at most 2n
    // circle events an edge, a half-edge and two candidates. With room for
    // that, a frame with no more sites than before allocates nothing.
    const size_t n = m_sites.size();
    m_vertices.Reserve(6 * n);
    m_edgePool.Reserve(3 * n);
    m_halfEdges.Reserve(4 * n + 2);
    m_edges.reserve(6 * n);
    m_xmin = m_xmax = m_sites[0].x;
    for (const SPoint& s : m_sites) {
        m_xmin = std::min(m_xmin, s.x);
        m_xmax = std::max(m_xmax, s.x);
    }
    m_ymin = m_sites.front().y;
    m_ymax = m_sites.back().y;
    m_deltaX = m_xmax > m_xmin ? m_xmax - m_xmin : 1.0f;
    m_deltaY = m_ymax > m_ymin ? m_ymax - m_ymin : 1.0f;

    m_boxMinX = std::min(minX, maxX);
    m_boxMaxX = std::max(minX, maxX);
    m_boxMinY = std::min(minY, maxY);
    m_boxMaxY = std::max(minY, maxY);
    m_minDist = minDist;
    m_siteIndex = 0;
    voronoi();
    return true;
}

CVoronoi::SPoint* CVoronoi::NextSite()
{
    return m_siteIndex < m_sites.size() ? &m_sites[m_siteIndex++] : nullptr;
}

CVoronoi::SHalfEdge* CVoronoi::NewHalfEdge(SEdge* e, int pm)
{
    SHalfEdge* he = m_halfEdges.New();
    he->edge = e;
    he->pm = pm;
    return he;
}

// The bisector as a x + b y = c, normalised on its larger coefficient.
CVoronoi::SEdge* CVoronoi::Bisect(SPoint* s1, SPoint* s2)
{
    SEdge* e = m_edgePool.New();
    e->reg[0] = s1;
    e->reg[1] = s2;
    const float dx = s2->x - s1->x, dy = s2->y - s1->y;
    e->c = s1->x * dx + s1->y * dy + (dx * dx + dy * dy) * 0.5f;
    if (std::fabs(dx) > std::fabs(dy)) {
        e->a = 1.0f;
        e->b = dy / dx;
        e->c /= dx;
    } else {
        e->b = 1.0f;
        e->a = dx / dy;
        e->c /= dy;
    }
    return e;
}

CVoronoi::SPoint* CVoronoi::Intersect(SHalfEdge* el1, SHalfEdge* el2)
{
    SEdge* e1 = el1->edge;
    SEdge* e2 = el2->edge;
    if (!e1 || !e2 || e1->reg[1] == e2->reg[1])
        return nullptr;
    const float d = e1->a * e2->b - e1->b * e2->a;
    if (-1.0e-10f < d && d < 1.0e-10f)
        return nullptr;
    const float xint = (e1->c * e2->b - e2->c * e1->b) / d;
    const float yint = (e2->c * e1->a - e1->c * e2->a) / d;
    SHalfEdge* el = el2;
    SEdge* e = e2;
    if (e1->reg[1]->y < e2->reg[1]->y || (e1->reg[1]->y == e2->reg[1]->y && e1->reg[1]->x < e2->reg[1]->x)) {
        el = el1;
        e = e1;
    }
    const bool rightOfSite = xint >= e->reg[1]->x;
    if ((rightOfSite && el->pm == LE) || (!rightOfSite && el->pm == RE))
        return nullptr;
    SPoint* v = m_vertices.New();
    v->x = xint;
    v->y = yint;
    return v;
}

// Whether p lies to the right of the half-edge.
bool CVoronoi::RightOf(SHalfEdge* el, const SPoint& p) const
{
    const SEdge* e = el->edge;
    const SPoint* top = e->reg[1];
    const bool rightOfSite = p.x > top->x;
    if (rightOfSite && el->pm == LE)
        return true;
    if (!rightOfSite && el->pm == RE)
        return false;
    bool above;
    if (e->a == 1.0f) {
        const float dyp = p.y - top->y, dxp = p.x - top->x;
        bool fast = false;
        if ((!rightOfSite && e->b < 0.0f) || (rightOfSite && e->b >= 0.0f)) {
            above = dyp >= e->b * dxp;
            fast = above;
        } else {
            above = p.x + p.y * e->b > e->c;
            if (e->b < 0.0f)
                above = !above;
            if (!above)
                fast = true;
        }
        if (!fast) {
            const float dxs = top->x - e->reg[0]->x;
            above = e->b * (dxp * dxp - dyp * dyp) < dxs * dyp * (1.0f + 2.0f * dxp / dxs + e->b * e->b);
            if (e->b < 0.0f)
                above = !above;
        }
    } else {
        const float yl = e->c - e->a * p.x;
        const float t1 = p.y - yl, t2 = p.x - top->x, t3 = yl - top->y;
        above = t1 * t1 > t2 * t2 + t3 * t3;
    }
    return el->pm == LE ? above : !above;
}

void CVoronoi::EndPoint(SEdge* e, int side, SPoint* s)
{
    e->ep[side] = s;
    if (e->ep[RE - side])
        ClipLine(e);
}

CVoronoi::SHalfEdge* CVoronoi::HashEntry(int bucket)
{
    if (bucket < 0 || bucket >= int(m_hash.size()))
        return nullptr;
    SHalfEdge* he = m_hash[size_t(bucket)];
    if (!he || !he->deleted)
        return he;
    // A half-edge that left the list: forget it here.
    m_hash[size_t(bucket)] = nullptr;
    return nullptr;
}

CVoronoi::SHalfEdge* CVoronoi::LeftBound(const SPoint& p)
{
    const int size = int(m_hash.size());
    int bucket = int((p.x - m_xmin) / m_deltaX * float(size));
    bucket = std::clamp(bucket, 0, size - 1);
    SHalfEdge* he = HashEntry(bucket);
    for (int i = 1; !he; ++i) {
        if ((he = HashEntry(bucket - i)) != nullptr)
            break;
        he = HashEntry(bucket + i);
    }
    if (he == m_leftEnd || (he != m_rightEnd && RightOf(he, p))) {
        do
            he = he->right;
        while (he != m_rightEnd && RightOf(he, p));
        he = he->left;
    } else {
        do
            he = he->left;
        while (he != m_leftEnd && !RightOf(he, p));
    }
    if (bucket > 0 && bucket < size - 1)
        m_hash[size_t(bucket)] = he;
    return he;
}

void CVoronoi::Insert(SHalfEdge* lb, SHalfEdge* he)
{
    he->left = lb;
    he->right = lb->right;
    lb->right->left = he;
    lb->right = he;
}

void CVoronoi::Remove(SHalfEdge* he)
{
    he->left->right = he->right;
    he->right->left = he->left;
    he->deleted = true;
}

CVoronoi::SPoint* CVoronoi::LeftRegion(SHalfEdge* he) const
{
    if (!he->edge)
        return m_bottomSite;
    return he->pm == LE ? he->edge->reg[LE] : he->edge->reg[RE];
}

CVoronoi::SPoint* CVoronoi::RightRegion(SHalfEdge* he) const
{
    if (!he->edge)
        return m_bottomSite;
    return he->pm == LE ? he->edge->reg[RE] : he->edge->reg[LE];
}

int CVoronoi::Bucket(const SHalfEdge* he)
{
    const int size = int(m_queue.size());
    const int bucket = std::clamp(int((he->ystar - m_ymin) / m_deltaY * float(size)), 0, size - 1);
    m_queueMin = std::min(m_queueMin, bucket);
    return bucket;
}

void CVoronoi::QueueInsert(SHalfEdge* he, SPoint* v, float offset)
{
    he->vertex = v;
    he->ystar = v->y + offset;
    SHalfEdge* last = &m_queue[size_t(Bucket(he))];
    SHalfEdge* next;
    while ((next = last->next) != nullptr &&
           (he->ystar > next->ystar || (he->ystar == next->ystar && v->x > next->vertex->x)))
        last = next;
    he->next = last->next;
    last->next = he;
    ++m_queueCount;
}

void CVoronoi::QueueDelete(SHalfEdge* he)
{
    if (!he->vertex)
        return;
    SHalfEdge* last = &m_queue[size_t(Bucket(he))];
    while (last->next != he)
        last = last->next;
    last->next = he->next;
    --m_queueCount;
    he->vertex = nullptr;
}

CVoronoi::SPoint CVoronoi::QueueMin()
{
    while (!m_queue[size_t(m_queueMin)].next)
        ++m_queueMin;
    const SHalfEdge* he = m_queue[size_t(m_queueMin)].next;
    return {he->vertex->x, he->ystar, 0};
}

CVoronoi::SHalfEdge* CVoronoi::QueueExtractMin()
{
    SHalfEdge* he = m_queue[size_t(m_queueMin)].next;
    m_queue[size_t(m_queueMin)].next = he->next;
    --m_queueCount;
    return he;
}

void CVoronoi::voronoi()
{
    const int root = int(std::sqrt(float(m_sites.size() + 4)));
    m_queue.assign(size_t(4 * root), SHalfEdge{});
    m_queueCount = 0;
    m_queueMin = 0;
    m_hash.assign(size_t(2 * root), nullptr);
    m_leftEnd = NewHalfEdge(nullptr, 0);
    m_rightEnd = NewHalfEdge(nullptr, 0);
    m_leftEnd->right = m_rightEnd;
    m_rightEnd->left = m_leftEnd;
    m_hash.front() = m_leftEnd;
    m_hash.back() = m_rightEnd;

    const auto distance = [](const SPoint* a, const SPoint* b) { return std::hypot(a->x - b->x, a->y - b->y); };
    m_bottomSite = NextSite();
    SPoint* site = NextSite();
    SPoint nearest;
    for (;;) {
        if (m_queueCount > 0)
            nearest = QueueMin();
        if (site && (m_queueCount == 0 || site->y < nearest.y || (site->y == nearest.y && site->x < nearest.x))) {
            SHalfEdge* lbnd = LeftBound(*site);
            SHalfEdge* rbnd = lbnd->right;
            SPoint* bot = RightRegion(lbnd);
            SEdge* e = Bisect(bot, site);
            SHalfEdge* bisector = NewHalfEdge(e, LE);
            Insert(lbnd, bisector);
            if (SPoint* p = Intersect(lbnd, bisector)) {
                QueueDelete(lbnd);
                QueueInsert(lbnd, p, distance(p, site));
            }
            lbnd = bisector;
            bisector = NewHalfEdge(e, RE);
            Insert(lbnd, bisector);
            if (SPoint* p = Intersect(bisector, rbnd))
                QueueInsert(bisector, p, distance(p, site));
            site = NextSite();
        } else if (m_queueCount > 0) {
            SHalfEdge* lbnd = QueueExtractMin();
            SHalfEdge* llbnd = lbnd->left;
            SHalfEdge* rbnd = lbnd->right;
            SHalfEdge* rrbnd = rbnd->right;
            SPoint* bot = LeftRegion(lbnd);
            SPoint* top = RightRegion(rbnd);
            SPoint* v = lbnd->vertex;
            EndPoint(lbnd->edge, lbnd->pm, v);
            EndPoint(rbnd->edge, rbnd->pm, v);
            Remove(lbnd);
            QueueDelete(rbnd);
            Remove(rbnd);
            int pm = LE;
            if (bot->y > top->y) {
                std::swap(bot, top);
                pm = RE;
            }
            SEdge* e = Bisect(bot, top);
            SHalfEdge* bisector = NewHalfEdge(e, pm);
            Insert(llbnd, bisector);
            EndPoint(e, RE - pm, v);
            if (SPoint* p = Intersect(llbnd, bisector)) {
                QueueDelete(llbnd);
                QueueInsert(llbnd, p, distance(p, bot));
            }
            if (SPoint* p = Intersect(bisector, rrbnd))
                QueueInsert(bisector, p, distance(p, bot));
        } else {
            break;
        }
    }
    for (SHalfEdge* he = m_leftEnd->right; he != m_rightEnd; he = he->right)
        ClipLine(he->edge);
}

void CVoronoi::ClipLine(SEdge* e)
{
    if (e->clipped)
        return;
    e->clipped = true;
    const SPoint* r0 = e->reg[0];
    const SPoint* r1 = e->reg[1];
    if (std::hypot(r1->x - r0->x, r1->y - r0->y) < m_minDist)
        return;
    const float pxmin = m_boxMinX, pxmax = m_boxMaxX, pymin = m_boxMinY, pymax = m_boxMaxY;
    const SPoint* s1 = e->ep[0];
    const SPoint* s2 = e->ep[1];
    if (e->a == 1.0f && e->b >= 0.0f)
        std::swap(s1, s2);
    float x1, y1, x2, y2;
    if (e->a == 1.0f) {
        y1 = s1 && s1->y > pymin ? s1->y : pymin;
        y1 = std::min(y1, pymax);
        x1 = e->c - e->b * y1;
        y2 = s2 && s2->y < pymax ? s2->y : pymax;
        y2 = std::max(y2, pymin);
        x2 = e->c - e->b * y2;
        if ((x1 > pxmax && x2 > pxmax) || (x1 < pxmin && x2 < pxmin))
            return;
        const auto limit = [&](float& x, float& y) {
            if (x > pxmax || x < pxmin) {
                x = x > pxmax ? pxmax : pxmin;
                y = (e->c - x) / e->b;
            }
        };
        limit(x1, y1);
        limit(x2, y2);
    } else {
        x1 = s1 && s1->x > pxmin ? s1->x : pxmin;
        x1 = std::min(x1, pxmax);
        y1 = e->c - e->a * x1;
        x2 = s2 && s2->x < pxmax ? s2->x : pxmax;
        x2 = std::max(x2, pxmin);
        y2 = e->c - e->a * x2;
        if ((y1 > pymax && y2 > pymax) || (y1 < pymin && y2 < pymin))
            return;
        const auto limit = [&](float& x, float& y) {
            if (y > pymax || y < pymin) {
                y = y > pymax ? pymax : pymin;
                x = (e->c - y) / e->a;
            }
        };
        limit(x1, y1);
        limit(x2, y2);
    }
    if (std::fabs(x1 - x2) < 1e-5f && std::fabs(y1 - y2) < 1e-5f)
        return;
    // The first site on the left of the edge, so that both cells' triangles
    // wind alike.
    if ((x2 - x1) * (r0->y - y1) - (y2 - y1) * (r0->x - x1) < 0.0f) {
        std::swap(x1, x2);
        std::swap(y1, y2);
    }
    m_edges.push_back({x1, y1, x2, y2, r0->index});
    m_edges.push_back({x2, y2, x1, y1, r1->index});
}
