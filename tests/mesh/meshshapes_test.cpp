#include "mesh/meshshapes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

namespace {

int OpenEdges(CMesh& mesh)
{
    const std::vector<int32_t> adjacency = mesh.BuildAdjacency();
    int open = 0;
    for (size_t corner = 0; corner < adjacency.size(); ++corner)
        if (mesh.m_faces[corner / 4].count > int(corner % 4) && adjacency[corner] < 0)
            ++open;
    return open;
}

std::array<float, 6> Bounds(const CMesh& mesh)
{
    std::array<float, 6> b = {1e9f, 1e9f, 1e9f, -1e9f, -1e9f, -1e9f};
    for (const CMeshVertexA& v : mesh.m_vertices)
        for (int a = 0; a < 3; ++a) {
            b[size_t(a)] = std::min(b[size_t(a)], v.position[a]);
            b[size_t(a + 3)] = std::max(b[size_t(a + 3)], v.position[a]);
        }
    return b;
}

void ExpectBounds(const CMesh& mesh, std::array<float, 6> expected)
{
    const std::array<float, 6> actual = Bounds(mesh);
    for (size_t i = 0; i < 6; ++i)
        EXPECT_NEAR(actual[i], expected[i], 1e-4f) << "bound " << i;
}

} // namespace

TEST(MeshShapes, CountsBoundsAndClosure)
{
    struct SCase
    {
        const char* what;
        std::function<void(CMesh&)> build;
        size_t vertices, faces;
        bool closed;
        std::array<float, 6> bounds;
    };
    const SCase cases[] = {
        {"plane 2x3", [](CMesh& m) { BuildPlane(m, {2, 4, 2, 3}); }, 12, 6, false, {-1, -2, 0, 1, 2, 0}},
        {"cube 1x1x1", [](CMesh& m) { BuildCube(m, {}); }, 24, 6, true, {-0.5f, -0.5f, -0.5f, 0.5f, 0.5f, 0.5f}},
        {"cube 2x3x4",
         [](CMesh& m) {
             SCubeShape s;
             s.size = {2, 3, 4};
             s.tesselateX = 2;
             s.tesselateY = 3;
             s.tesselateZ = 4;
             BuildCube(m, s);
         },
         2 * ((4 + 3 + 2) * 3 + 4 * 5), 2 * ((4 + 3) * 2 + 3 * 4), true, {-1, -1.5f, -2, 1, 1.5f, 2}},
        {"sphere 3x3", [](CMesh& m) { BuildSphere(m, {1, 3, 3}); }, 10, 9, true, {}},
        {"disc fan", [](CMesh& m) { BuildDisc(m, {1, 0.00001f, 8}); }, 10, 8, false, {-1, -1, 0, 1, 1, 0}},
        {"disc ring", [](CMesh& m) { BuildDisc(m, {1, 0.0001f, 8}); }, 18, 8, false, {-1, -1, 0, 1, 1, 0}},
        {"cylinder capped", [](CMesh& m) { BuildCylinder(m, {}); }, 2 + 6 * 13, 12 * 3 + 24, true,
         {-0.5f, -0.5f, -0.5f, 0.5f, 0.5f, 0.5f}},
        {"torus", [](CMesh& m) { BuildTorus(m, {8, 4}); }, 9 * 5, 32, true, {-2.2f, -0.2f, -2.2f, 2.2f, 0.2f, 2.2f}},
        {"open torus",
         [](CMesh& m) {
             STorusShape s{8, 4};
             s.arc = 0.999f;
             BuildTorus(m, s);
         },
         9 * 5 + 2 * 6, 32 + 8, true, {}},
        {"pq torus",
         [](CMesh& m) {
             STorusShape s{16, 6};
             s.isPQ = true;
             s.p = 2;
             s.q = 3;
             BuildTorus(m, s);
         },
         17 * 7, 16 * 6, false, {}},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.what);
        CMesh mesh;
        c.build(mesh);
        EXPECT_EQ(mesh.m_vertices.size(), c.vertices);
        EXPECT_EQ(mesh.m_faces.size(), c.faces);
        EXPECT_EQ(mesh.m_clusters.size(), 1u);
        if (c.closed)
            EXPECT_EQ(OpenEdges(mesh), 0);
        else
            EXPECT_GT(OpenEdges(mesh), 0);
        if (c.bounds != std::array<float, 6>{})
            ExpectBounds(mesh, c.bounds);
        for (const CMeshVertexA& v : mesh.m_vertices)
            EXPECT_NEAR(v.normal[0] * v.normal[0] + v.normal[1] * v.normal[1] + v.normal[2] * v.normal[2], 1.0f, 1e-4f);
    }
}

TEST(MeshShapes, NormalsPointOutwardsOnClosedShapes)
{
    CMesh sphere, torus, cube;
    BuildSphere(sphere, {2, 16, 12});
    for (const CMeshVertexA& v : sphere.m_vertices) {
        const float dot = (v.position[0] * v.normal[0] + v.position[1] * v.normal[1] + v.position[2] * v.normal[2]) / 2;
        EXPECT_GT(dot, 0.98f) << "smooth sphere normals follow the radius, seam included";
    }
    BuildCube(cube, {});
    for (const CMeshVertexA& v : cube.m_vertices) {
        // A hard-edged cube: each normal is one axis, pointing out of its side.
        const float dot = v.position[0] * v.normal[0] + v.position[1] * v.normal[1] + v.position[2] * v.normal[2];
        EXPECT_NEAR(dot, 0.5f, 1e-5f);
    }
    BuildTorus(torus, {12, 6});
    for (const CMeshVertexA& v : torus.m_vertices) {
        const float ring = std::sqrt(v.position[0] * v.position[0] + v.position[2] * v.position[2]);
        const float toTube[3] = {v.position[0] - v.position[0] / ring * 2, v.position[1],
                                 v.position[2] - v.position[2] / ring * 2};
        const float dot = (toTube[0] * v.normal[0] + toTube[1] * v.normal[1] + toTube[2] * v.normal[2]) / 0.2f;
        EXPECT_GT(dot, 0.95f);
    }
}

TEST(MeshShapes, VariantsOfPlaneDiscAndCylinder)
{
    CMesh single, twice;
    BuildPlane(single, {1, 1, 3, 2});
    BuildPlane(twice, {1, 1, 3, 2, 1, 1, EPlaneType::Double});
    ASSERT_EQ(twice.m_vertices.size(), 2 * single.m_vertices.size());
    ASSERT_EQ(twice.m_faces.size(), 2 * single.m_faces.size());
    const size_t half = single.m_vertices.size();
    EXPECT_NEAR(single.m_vertices[0].normal[2], -1.0f, 1e-5f);
    EXPECT_NEAR(twice.m_vertices[half].normal[2], 1.0f, 1e-5f) << "the second sheet faces the other way";
    ExpectBounds(twice, Bounds(single));

    CMesh inverted;
    BuildPlane(inverted, {1, 1, 1, 1, 1, 1, EPlaneType::Invert});
    EXPECT_NEAR(inverted.m_vertices[0].normal[2], 1.0f, 1e-5f);

    CMesh disc, swapped;
    BuildDisc(disc, {2, 1, 6});
    BuildDisc(swapped, {1, 2, 6});
    EXPECT_EQ(disc.m_vertices, swapped.m_vertices);
    CMesh doubleDisc;
    BuildDisc(doubleDisc, {2, 1, 6, true});
    EXPECT_EQ(doubleDisc.m_faces.size(), 12u);

    SCylinderShape cone;
    cone.radiusScaleTop = 0;
    CMesh pointed;
    BuildCylinder(pointed, cone);
    EXPECT_EQ(pointed.m_faces.size(), 12u * 2 + 12) << "wall, bottom cap ring and fan; no top cap";
    const std::array<float, 6> bounds = Bounds(pointed);
    EXPECT_NEAR(bounds[4], 0.5f, 1e-5f);
    for (const CMeshVertexA& v : pointed.m_vertices) {
        if (v.position[1] > 0.4999f) {
            EXPECT_NEAR(std::hypot(v.position[0], v.position[2]), 0.0f, 1e-5f) << "comes to a point";
        }
    }
}

TEST(MeshShapes, LargestTessellationsStayWithinIntegerRanges)
{
    // The biggest sphere and torus the ports allow.
    CMesh sphere, torus;
    BuildSphere(sphere, {1, 1000, 1000});
    EXPECT_EQ(sphere.m_vertices.size(), 1001u * 999 + 2);
    EXPECT_EQ(OpenEdges(sphere), 0);
    BuildTorus(torus, {1000, 1000});
    EXPECT_EQ(torus.m_faces.size(), 1000000u);
}
