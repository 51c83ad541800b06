#pragma once

#include <span>
#include <vector>

struct SPoint3
{
    float x, y, z;
};

struct STriangleIndices
{
    int p1, p2, p3;
};

// The bounding box of the points of the last triangulation.
struct SBox2
{
    float minX, minY, maxX, maxY;
};

// Delaunay triangulation of the first `count` points by incremental
// insertion into a super-triangle. `points` must have room for three
// further points behind the last; it is sorted by x in place and the
// triangles index it in that order. z is carried along, not looked at.
// Answers the points' bounding box.
SBox2 Triangulate(std::span<SPoint3> points, int count, std::vector<STriangleIndices>& triangles);
