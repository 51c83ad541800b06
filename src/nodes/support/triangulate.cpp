#include "nodes/support/triangulate.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kEpsilon = 1e-5;

// Whether p lies in the circumcircle of a, b, c, with the circle's centre
// and squared radius. Level pairs of corners take the centre from the other
// pair's perpendicular bisector; three level corners have no circle.
bool CircumCircle(double xp, double yp, const SPoint3& a, const SPoint3& b, const SPoint3& c, double& xc, double& yc,
                  double& r2)
{
    const double x1 = a.x, y1 = a.y, x2 = b.x, y2 = b.y, x3 = c.x, y3 = c.y;
    const bool level12 = std::fabs(y1 - y2) < kEpsilon, level23 = std::fabs(y2 - y3) < kEpsilon;
    if (level12 && level23)
        return false;
    if (level12) {
        const double m2 = -(x3 - x2) / (y3 - y2);
        xc = (x2 + x1) / 2.0;
        yc = m2 * (xc - (x2 + x3) / 2.0) + (y2 + y3) / 2.0;
    } else if (level23) {
        const double m1 = -(x2 - x1) / (y2 - y1);
        xc = (x3 + x2) / 2.0;
        yc = m1 * (xc - (x1 + x2) / 2.0) + (y1 + y2) / 2.0;
    } else {
        const double m1 = -(x2 - x1) / (y2 - y1), m2 = -(x3 - x2) / (y3 - y2);
        const double mx1 = (x1 + x2) / 2.0, mx2 = (x2 + x3) / 2.0;
        const double my1 = (y1 + y2) / 2.0, my2 = (y2 + y3) / 2.0;
        xc = (m1 * mx1 - m2 * mx2 + my2 - my1) / (m1 - m2);
        yc = m1 * (xc - mx1) + my1;
    }
    r2 = (x2 - xc) * (x2 - xc) + (y2 - yc) * (y2 - yc);
    const double d2 = (xp - xc) * (xp - xc) + (yp - yc) * (yp - yc);
    return d2 - r2 <= kEpsilon;
}

} // namespace

SBox2 Triangulate(std::span<SPoint3> points, int count, std::vector<STriangleIndices>& triangles)
{
    triangles.clear();
    count = std::min(count, int(points.size()) - 3);
    if (count < 3)
        return {};
    std::sort(points.begin(), points.begin() + count, [](const SPoint3& a, const SPoint3& b) { return a.x < b.x; });

    SBox2 box{points[0].x, points[0].y, points[0].x, points[0].y};
    for (int i = 0; i < count; ++i) {
        box.minX = std::min(box.minX, points[size_t(i)].x);
        box.maxX = std::max(box.maxX, points[size_t(i)].x);
        box.minY = std::min(box.minY, points[size_t(i)].y);
        box.maxY = std::max(box.maxY, points[size_t(i)].y);
    }
    // The super-triangle must lie outside the circumcircle of every hull
    // triangle, and a point close to a hull edge makes that circle huge: at
    // 20 times the extent, as often given, pieces along the border go
    // missing.
    const float dmax = 100000.0f * std::max(box.maxX - box.minX, box.maxY - box.minY);
    const float xmid = (box.maxX + box.minX) * 0.5f, ymid = (box.maxY + box.minY) * 0.5f;
    points[size_t(count)] = {xmid - dmax, ymid - dmax, 0.0f};
    points[size_t(count) + 1] = {xmid, ymid + dmax, 0.0f};
    points[size_t(count) + 2] = {xmid + dmax, ymid - dmax, 0.0f};

    const size_t capacity = size_t(4 * count);
    triangles.reserve(capacity);
    std::vector<char> complete;
    complete.reserve(capacity);
    std::vector<STriangleIndices> edges; // p3 unused
    edges.reserve(200);
    triangles.push_back({count, count + 1, count + 2});
    complete.push_back(0);

    for (int i = 0; i < count; ++i) {
        const double xp = points[size_t(i)].x, yp = points[size_t(i)].y;
        edges.clear();
        for (size_t j = 0; j < triangles.size(); ++j) {
            if (complete[j])
                continue;
            const STriangleIndices t = triangles[j];
            double xc = 0, yc = 0, r2 = 0;
            const bool inside = CircumCircle(xp, yp, points[size_t(t.p1)], points[size_t(t.p2)],
                                             points[size_t(t.p3)], xc, yc, r2);
            // Points come by x: a circle wholly left of this one is done.
            if (xc < xp && (xp - xc) * (xp - xc) > r2)
                complete[j] = 1;
            if (inside) {
                edges.push_back({t.p1, t.p2, 0});
                edges.push_back({t.p2, t.p3, 0});
                edges.push_back({t.p3, t.p1, 0});
                triangles[j] = triangles.back();
                complete[j] = complete.back();
                triangles.pop_back();
                complete.pop_back();
                --j;
            }
        }
        // Edges shared by two removed triangles are inside the hole.
        for (size_t a = 0; a + 1 < edges.size(); ++a)
            for (size_t b = a + 1; b < edges.size(); ++b)
                if ((edges[a].p1 == edges[b].p2 && edges[a].p2 == edges[b].p1) ||
                    (edges[a].p1 == edges[b].p1 && edges[a].p2 == edges[b].p2)) {
                    edges[a] = edges[b] = {-1, -1, 0};
                }
        for (const STriangleIndices& e : edges) {
            if (e.p1 < 0)
                continue;
            if (triangles.size() >= capacity)
                break;
            triangles.push_back({e.p1, e.p2, i});
            complete.push_back(0);
        }
    }
    std::erase_if(triangles, [count](const STriangleIndices& t) {
        return t.p1 >= count || t.p2 >= count || t.p3 >= count;
    });
    return box;
}
