#include "mesh/mesh.h"
#include "memoryrender.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

CMeshVertexA At(float x, float y, float z, float u = 0, float v = 0)
{
    CMeshVertexA vertex;
    vertex.position[0] = x;
    vertex.position[1] = y;
    vertex.position[2] = z;
    vertex.uv[0] = u;
    vertex.uv[1] = v;
    return vertex;
}

void ExpectVector(const float* actual, float x, float y, float z)
{
    EXPECT_NEAR(actual[0], x, 1e-5f);
    EXPECT_NEAR(actual[1], y, 1e-5f);
    EXPECT_NEAR(actual[2], z, 1e-5f);
}

// A strip of two unit quads in the XY plane along x, u growing with x; the
// middle edge is held twice, by separate but coincident vertices.
CMesh QuadStrip()
{
    CMesh mesh;
    mesh.AddCluster();
    mesh.m_vertices = {At(0, 0, 0, 0), At(0, 1, 0, 0), At(1, 1, 0, 1), At(1, 0, 0, 1),
                       At(1, 0, 0, 1), At(1, 1, 0, 1), At(2, 1, 0, 2), At(2, 0, 0, 2)};
    mesh.m_faces = {{0, 4, 0, {0, 1, 2, 3}}, {0, 4, 0, {4, 5, 6, 7}}};
    return mesh;
}

} // namespace

TEST(Mesh, MapsNormalsAndTangentsOfAQuadStrip)
{
    CMesh mesh = QuadStrip();
    EXPECT_EQ(mesh.PositionMap(), (std::vector<int32_t>{-1, -1, -1, -1, 3, 2, -1, -1}));
    mesh.CalcNormalsAndTangents();
    for (size_t i = 0; i < mesh.m_vertices.size(); ++i) {
        SCOPED_TRACE(i);
        // Corners (0,0) (0,1) (1,1) face -z with this winding.
        ExpectVector(mesh.m_vertices[i].normal, 0, 0, -1);
        ExpectVector(mesh.m_vertices[i].tangent, 1, 0, 0);
        EXPECT_EQ(mesh.m_vertices[i].tangentSign, 1.0f);
    }

    // A quad on a line has no normal of its own and leaves its neighbours alone.
    mesh.m_vertices.insert(mesh.m_vertices.end(), {At(3, 0, 0), At(4, 0, 0), At(5, 0, 0), At(6, 0, 0)});
    mesh.m_faces.push_back({0, 4, 0, {7, 8, 9, 10}});
    mesh.CalcNormalsAndTangents();
    ExpectVector(mesh.m_vertices[7].normal, 0, 0, -1);

    CMesh empty;
    empty.CalcNormalsAndTangents();
    EXPECT_TRUE(empty.m_vertices.empty());
}

TEST(Mesh, SurfaceMapKeepsHardEdgesApartAndHashesSignedZerosApart)
{
    CMesh mesh;
    CMeshVertexA up = At(1, 2, 3), side = At(1, 2, 3), zero = At(0, 0, 0), negativeZero = At(-0.0f, 0, 0);
    side.normal[0] = 1;
    side.normal[2] = 0;
    mesh.m_vertices = {up, side, up, zero, negativeZero};
    // 0.0 and -0.0 compare equal but hash apart, so they stay separate.
    EXPECT_EQ(mesh.SurfaceMap(), (std::vector<int32_t>{-1, -1, 0, -1, -1}));
    EXPECT_EQ(mesh.PositionMap(), (std::vector<int32_t>{-1, 0, 0, -1, -1}));
    EXPECT_NE(PositionHash(zero), PositionHash(negativeZero));
}

TEST(Mesh, WeldsEqualVerticesAndDropsUnusedOnes)
{
    CMesh mesh = QuadStrip();
    mesh.m_vertices[4].select = 1; // select and temp are not part of equality
    mesh.m_vertices.push_back(At(9, 9, 9)); // referenced by nobody
    mesh.WeldExact();
    ASSERT_EQ(mesh.m_vertices.size(), 6u);
    EXPECT_EQ(mesh.m_faces[1].vertices[0], 3);
    EXPECT_EQ(mesh.m_faces[1].vertices[1], 2);
    EXPECT_EQ(mesh.m_faces[1].vertices[2], 4);

    struct SCase
    {
        const char* what;
        float offset, epsilon;
        size_t vertices;
    };
    for (const SCase& c : {SCase{"within epsilon", 0.004f, 0.01f, 6}, SCase{"beyond epsilon", 0.02f, 0.01f, 8},
                           SCase{"epsilon 0 and a gap", 0.001f, 0.0f, 8}, SCase{"epsilon 0, exact", 0.0f, 0.0f, 6}}) {
        SCOPED_TRACE(c.what);
        CMesh strip = QuadStrip();
        strip.m_vertices[4].position[1] += c.offset;
        strip.m_vertices[5].position[1] += c.offset;
        strip.WeldDistance(c.epsilon);
        EXPECT_EQ(strip.m_vertices.size(), c.vertices);
    }
}

TEST(Mesh, AdjacencyPairsCornersAcrossSharedPositions)
{
    CMesh mesh = QuadStrip();
    const std::vector<int32_t> adjacency = mesh.BuildAdjacency();
    ASSERT_EQ(adjacency.size(), 8u);
    // Edge 2→3 of the first quad is edge 0→1 of the second (corner 4).
    EXPECT_EQ(adjacency[2], 4);
    EXPECT_EQ(adjacency[4], 2);
    EXPECT_EQ(std::count(adjacency.begin(), adjacency.end(), -1), 6);
}

TEST(Mesh, AppendMergesClustersAndMirroringFlipsOnlyNewFaces)
{
    struct SCase
    {
        const char* what;
        SVec3 scale;
        bool flipped;
    };
    for (const SCase& c : {SCase{"mirrored", {-1, 1, 1}, true}, SCase{"turned", {-1, -1, 1}, false}}) {
        SCOPED_TRACE(c.what);
        CMesh mesh = QuadStrip();
        const CMesh source = QuadStrip();
        CMatrix move = MatrixIdentity();
        move[12] = 10;
        mesh.Append(source, &move, &move, &c.scale);
        ASSERT_EQ(mesh.m_faces.size(), 4u);
        EXPECT_EQ(mesh.m_clusters.size(), 1u);
        EXPECT_EQ(mesh.m_faces[0].vertices[0], 0);
        EXPECT_EQ(mesh.m_faces[2].vertices[0], c.flipped ? 11 : 8);
        EXPECT_EQ(mesh.m_vertices[8].position[0], 10.0f);
        for (const CMeshFace& face : mesh.m_faces)
            EXPECT_EQ(face.cluster, 0);
    }
}

TEST(Mesh, TransformTurnsNormalsAndAMirrorFlipsFaces)
{
    CMesh mesh = QuadStrip();
    mesh.CalcNormalsAndTangents();
    CMatrix stretch = MatrixIdentity();
    stretch[0] = 2; // non-uniform scale keeps a flat normal upright
    mesh.Transform(stretch);
    ExpectVector(mesh.m_vertices[6].position, 4, 1, 0);
    ExpectVector(mesh.m_vertices[0].normal, 0, 0, -1);

    CMatrix mirror = MatrixIdentity();
    mirror[10] = -1;
    mesh.Transform(mirror);
    EXPECT_EQ(mesh.m_faces[0].vertices[0], 3) << "a mirror reverses the winding";
    // The inverse transpose turns the normal to +z and the mirror negates it.
    ExpectVector(mesh.m_vertices[0].normal, 0, 0, -1);
}

TEST(Mesh, BuildBuffersWritesReferencedVerticesInOrderOfUse)
{
    CMemoryRender render;
    CMesh mesh;
    mesh.AddCluster();
    mesh.m_vertices = {At(9, 9, 9), At(0, 0, 0, 0), At(0, 1, 0, 0), At(1, 1, 0, 1), At(1, 0, 0, 1)};
    mesh.m_faces = {{0, 3, 0, {1, 2, 3, 0}}, {0, 3, 0, {1, 3, 4, 0}}};
    mesh.CalcNormalsAndTangents();
    mesh.BuildBuffers(&render);
    ASSERT_TRUE(mesh.m_vertexBuffer && mesh.m_indexBuffer);
    auto& vertices = static_cast<CMemoryRender::CMemoryVertexBuffer&>(*mesh.m_vertexBuffer);
    auto& indices = static_cast<CMemoryRender::CMemoryIndexBuffer&>(*mesh.m_indexBuffer);
    ASSERT_EQ(vertices.m_count, 4) << "the unused vertex stays out";
    ASSERT_EQ(indices.m_count, 6);
    // Each triangle goes in as (0, 2, 1): the device's winding.
    const std::vector<uint32_t> expected = {0, 1, 2, 0, 3, 1};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(indices.At(i), expected[size_t(i)]) << i;
    ExpectVector(vertices.m_data[1].position, 1, 1, 0);
    for (const SVertexPNTBTC& v : vertices.m_data) {
        // The binormal is tangent × normal, made unit length by one
        // Newton step, so only to about 0.2%.
        const SVec3 b = Normalize(Cross({v.tangent[0], v.tangent[1], v.tangent[2]}, {v.normal[0], v.normal[1], v.normal[2]}));
        EXPECT_NEAR(v.binormal[0], b.x, 3e-3f);
        EXPECT_NEAR(v.binormal[1], b.y, 3e-3f);
        EXPECT_NEAR(v.binormal[2], b.z, 3e-3f);
    }

    // The index width changes where 16 bits stop being enough.
    for (int triangles : {21844, 21845}) {
        CMesh big;
        big.AddCluster();
        big.m_vertices = {At(0, 0, 0), At(0, 1, 0), At(1, 0, 0)};
        big.m_faces.assign(size_t(triangles), {0, 3, 0, {0, 1, 2, 0}});
        big.BuildBuffers(&render);
        EXPECT_EQ(big.m_indexBuffer->m_count, triangles * 3);
        EXPECT_EQ(IndexWidth(big.m_indexBuffer->m_count), triangles == 21844 ? 2 : 4);
    }
}
