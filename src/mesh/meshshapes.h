#pragma once

#include "mesh/mesh.h"

// The basic shapes of the mesh graph, each written into a cleared mesh with
// one cluster, placed, and with its normals and tangents. The settings carry
// the generator nodes' port values.

// (w + 1) × (h + 1) vertices at (i, 0, j) facing +Y and w × h quads, appended.
void AppendGrid(CMesh& mesh, int w, int h);

enum class EPlaneType
{
    Normal = 0,
    Invert = 1,
    Double = 2,
};

struct SPlaneShape
{
    float width = 1, height = 1;
    int tesselateW = 1, tesselateH = 1;
    float scaleU = 1, scaleV = 1;
    EPlaneType type = EPlaneType::Normal;
};
void BuildPlane(CMesh& mesh, const SPlaneShape& shape);

struct SDiscShape
{
    float outerRadius = 1, innerRadius = 0;
    int segments = 32;
    bool doubleSided = false;
    float phase = 0;
    float scaleU = 1, scaleV = 1;
};
void BuildDisc(CMesh& mesh, const SDiscShape& shape);

struct SCubeShape
{
    SVec3 size = {1, 1, 1};
    float scaleU = 1, scaleV = 1;
    int tesselateX = 1, tesselateY = 1, tesselateZ = 1;
};
void BuildCube(CMesh& mesh, const SCubeShape& shape);

struct SSphereShape
{
    float radius = 1;
    int rings = 32, segments = 32;
    float scaleU = 1, scaleV = 1;
};
void BuildSphere(CMesh& mesh, const SSphereShape& shape);

struct SCylinderShape
{
    float radius = 0.5f, radiusScaleTop = 1, radiusScaleBottom = 1, height = 1;
    int segments = 12, slices = 1, rings = 1;
    bool capped = true, center = true;
};
void BuildCylinder(CMesh& mesh, const SCylinderShape& shape);

struct STorusShape
{
    int subAxis = 256, subHeight = 16;
    float radius = 2, thickness = 0.2f, arc = 1, phase = 0;
    float scaleU = 2, scaleV = 10;
    bool isPQ = false;
    float p = 1, q = 0;
    int clumps = 0;
    float clumpOffset = 0, clumpScale = 0;
};
void BuildTorus(CMesh& mesh, const STorusShape& shape);
