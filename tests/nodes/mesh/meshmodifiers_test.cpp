// Mesh modifiers on a small known mesh: a unit cube, shifted so that it is
// off centre, with one face and its corners selected.

#include "mesh/meshshapes.h"
#include "nodes/nodetypes.h"
#include "nodes/value/valuegraph.h"
#include "ports/types/dataports.h"
#include "scene/nodefactory.h"
#include "scene/pdmesh.h"
#include "scene/scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace {

// A mesh source standing in for an upstream chain.
struct SSource : CPDMesh
{
    bool GenerateMesh(CPDMesh* target) override
    {
        if (target != this)
            target->m_mesh = m_mesh;
        return true;
    }
};

struct SPort
{
    const char* name;
    const char* value;
};

struct SCase
{
    const char* name;
    const char* type;
    std::vector<SPort> ports;
    std::function<void(const CMesh& before, const CMesh& after)> check;
    const char* input = "Mesh";
};

std::vector<int32_t> Corners(const CMeshFace& face)
{
    return {face.vertices, face.vertices + face.count};
}

// Six times the enclosed volume: positive when the faces wind outwards.
float SignedVolume(const CMesh& mesh)
{
    float sum = 0;
    for (const CMeshFace& face : mesh.m_faces)
        for (int c = 1; c + 1 < face.count; ++c) {
            const float* a = mesh.m_vertices[size_t(face.vertices[0])].position;
            const float* b = mesh.m_vertices[size_t(face.vertices[c])].position;
            const float* d = mesh.m_vertices[size_t(face.vertices[c + 1])].position;
            sum += a[0] * (b[1] * d[2] - b[2] * d[1]) - a[1] * (b[0] * d[2] - b[2] * d[0]) +
                   a[2] * (b[0] * d[1] - b[1] * d[0]);
        }
    return sum;
}

// Every normal of the shifted cube points away from its centre, as on a ball.
void ExpectSmooth(const CMesh& mesh)
{
    for (const CMeshVertexA& v : mesh.m_vertices) {
        const float dot =
            (v.position[0] - 2.0f) * v.normal[0] + v.position[1] * v.normal[1] + v.position[2] * v.normal[2];
        EXPECT_NEAR(dot, 0.5f * std::sqrt(3.0f), 1e-3f);
    }
}

class MeshModifiers : public testing::Test
{
protected:
    MeshModifiers()
    {
        BuildCube(source.m_mesh, SCubeShape{});
        for (CMeshVertexA& vertex : source.m_mesh.m_vertices)
            vertex.position[0] += 2.0f;
        CMeshFace& first = source.m_mesh.m_faces[0];
        first.select = 1.0f;
        for (int c = 0; c < first.count; ++c)
            source.m_mesh.m_vertices[size_t(first.vertices[c])].select = 1.0f;
    }

    struct SFactory
    {
        SFactory() { CNodeFactory::Get()->Init(NodeTypes()); }
        ~SFactory() { CNodeFactory::Get()->Release(); }
    } factory;
    CScene scene;
    SSource source;
};

} // namespace

TEST_F(MeshModifiers, EditTheUpstreamMesh)
{
    const auto flippedWhereSelected = [](int selection) {
        return [selection](const CMesh& before, const CMesh& after) {
            ASSERT_EQ(after.m_faces.size(), before.m_faces.size());
            for (size_t f = 0; f < after.m_faces.size(); ++f) {
                std::vector<int32_t> a = Corners(after.m_faces[f]), b = Corners(before.m_faces[f]);
                const bool chosen = selection == 1 || (selection == 2) == (before.m_faces[f].select >= 0.5f);
                if (chosen)
                    std::reverse(b.begin(), b.end());
                // Same cycle, maybe starting elsewhere.
                const auto at = std::find(a.begin(), a.end(), b[0]);
                ASSERT_NE(at, a.end());
                std::rotate(a.begin(), at, a.end());
                EXPECT_EQ(a, b) << "face " << f;
            }
            for (size_t v = 0; v < after.m_vertices.size(); ++v) {
                const bool chosen = selection == 1 || (selection == 2) == (before.m_vertices[v].select >= 0.5f);
                EXPECT_EQ(after.m_vertices[v].normal[0], before.m_vertices[v].normal[0] * (chosen ? -1.0f : 1.0f));
                EXPECT_EQ(after.m_vertices[v].normal[2], before.m_vertices[v].normal[2] * (chosen ? -1.0f : 1.0f));
            }
        };
    };
    const auto facesLeft = [](size_t count, bool firstKept) {
        return [=](const CMesh& before, const CMesh& after) {
            EXPECT_EQ(after.m_vertices.size(), before.m_vertices.size()) << "vertices are not touched";
            ASSERT_EQ(after.m_faces.size(), count);
            if (count > 0) {
                EXPECT_EQ(after.m_faces[0].select >= 0.5f, firstKept);
            }
        };
    };
    const std::vector<SCase> cases = {
        {"InvertAll", "InvertMesh", {}, flippedWhereSelected(1)},
        {"InvertSelected", "InvertMesh", {{"Selection", "2"}}, flippedWhereSelected(2)},
        {"InvertUnselected", "InvertMesh", {{"Selection", "3"}}, flippedWhereSelected(3)},
        {"DeleteSelected", "DeleteFaces", {}, facesLeft(5, false)},
        {"DeleteUnselected", "DeleteFaces", {{"Selection", "3"}}, facesLeft(1, true)},
        {"DeleteNone", "DeleteFaces", {{"Selection", "0"}}, facesLeft(6, true)},
        {"DeleteAll", "DeleteFaces", {{"Selection", "1"}}, facesLeft(0, false)},
        {"Center",
         "CenterMesh",
         {},
         [](const CMesh& before, const CMesh& after) {
             ASSERT_EQ(after.m_vertices.size(), before.m_vertices.size());
             for (size_t v = 0; v < after.m_vertices.size(); ++v) {
                 EXPECT_FLOAT_EQ(after.m_vertices[v].position[0], before.m_vertices[v].position[0] - 2.0f);
                 EXPECT_FLOAT_EQ(after.m_vertices[v].position[1], before.m_vertices[v].position[1]);
             }
         }},
        {"MirrorX",
         "MirrorMesh",
         {{"MirrorX", "1"}},
         [](const CMesh& before, const CMesh& after) {
             EXPECT_FLOAT_EQ(SignedVolume(after), SignedVolume(before)) << "the faces still wind outwards";
             EXPECT_EQ(after.m_vertices[0].position[0], -before.m_vertices[0].position[0]);
             EXPECT_EQ(after.m_vertices[0].normal[0], -before.m_vertices[0].normal[0]);
             EXPECT_NE(Corners(after.m_faces[0]), Corners(before.m_faces[0]));
         }},
        {"MirrorXY",
         "MirrorMesh",
         {{"MirrorX", "1"}, {"MirrorY", "1"}},
         [](const CMesh& before, const CMesh& after) {
             EXPECT_EQ(after.m_vertices[0].position[1], -before.m_vertices[0].position[1]);
             EXPECT_EQ(after.m_vertices[0].normal[0], before.m_vertices[0].normal[0]) << "an even mirror keeps normals";
             EXPECT_EQ(Corners(after.m_faces[0]), Corners(before.m_faces[0]));
         }},
        {"FacetteWelds",
         "Facette",
         {{"Smootness", "0.99999"}},
         [](const CMesh&, const CMesh& after) {
             EXPECT_LT(after.m_vertices.size(), 24u) << "corners that differ only in normals merge";
             ExpectSmooth(after);
         }},
        {"FacetteUnwelds",
         "Facette",
         {{"Smootness", "0.9999"}},
         [](const CMesh&, const CMesh& after) {
             EXPECT_EQ(after.m_vertices.size(), 24u) << "a vertex per face corner";
             ExpectSmooth(after);
         }},
        {"FacetteFlat",
         "Facette",
         {{"Smootness", "0"}},
         [](const CMesh& before, const CMesh& after) {
             ASSERT_EQ(after.m_vertices.size(), 24u);
             for (size_t f = 0; f < after.m_faces.size(); ++f)
                 for (int c = 0; c < 4; ++c)
                     for (int a = 0; a < 3; ++a)
                         EXPECT_NEAR(after.m_vertices[size_t(after.m_faces[f].vertices[c])].normal[a],
                                     before.m_vertices[size_t(before.m_faces[f].vertices[0])].normal[a], 1e-5f);
         }},
        {"CloneOnce",
         "CloneMesh",
         {{"NumClones", "1"}},
         [](const CMesh& before, const CMesh& after) {
             ASSERT_EQ(after.m_vertices.size(), before.m_vertices.size());
             for (size_t v = 0; v < after.m_vertices.size(); ++v)
                 EXPECT_TRUE(after.m_vertices[v] == before.m_vertices[v]) << "vertex " << v;
         }},
        {"CloneTurned",
         "CloneMesh",
         {{"NumClones", "3"}, {"PosChange", "0 0 1"}, {"RotChange", "0 0 90"}},
         [](const CMesh& before, const CMesh& after) {
             const size_t n = before.m_vertices.size();
             ASSERT_EQ(after.m_vertices.size(), 3 * n);
             ASSERT_EQ(after.m_faces.size(), 3 * before.m_faces.size());
             // Two quarter turns about z: (x, y) becomes (-x, -y), then 2 up.
             const float* p = before.m_vertices[0].position;
             const float* q = after.m_vertices[2 * n].position;
             EXPECT_NEAR(q[0], -p[0], 1e-5f);
             EXPECT_NEAR(q[1], -p[1], 1e-5f);
             EXPECT_NEAR(q[2], p[2] + 2.0f, 1e-5f);
             EXPECT_NEAR(after.m_vertices[2 * n].normal[0], -before.m_vertices[0].normal[0], 1e-5f);
             EXPECT_NEAR(SignedVolume(after), 3 * SignedVolume(before), 1e-3f);
         }},
        {"CloneMirrored",
         "CloneMesh",
         {{"NumClones", "3"}, {"PosChange", "0 0 0"}, {"ScaleChange", "-1 0 0"}},
         [](const CMesh& before, const CMesh& after) {
             // Clones of x scale 1, 0 and -1: the last still winds outwards.
             EXPECT_NEAR(SignedVolume(after), 2 * SignedVolume(before), 1e-3f);
         }},
        {"RandomizeNone",
         "Randomize",
         {{"Selection", "0"}},
         [](const CMesh& before, const CMesh& after) {
             for (size_t v = 0; v < after.m_vertices.size(); ++v)
                 EXPECT_EQ(after.m_vertices[v].position[0], before.m_vertices[v].position[0]);
         }},
        {"RandomizeAll",
         "Randomize",
         {{"Amount", "0.1"}},
         [](const CMesh& before, const CMesh& after) {
             std::vector<std::array<float, 3>> corners;
             for (const CMeshVertexA& v : after.m_vertices)
                 corners.push_back({v.position[0], v.position[1], v.position[2]});
             std::sort(corners.begin(), corners.end());
             corners.erase(std::unique(corners.begin(), corners.end()), corners.end());
             EXPECT_EQ(corners.size(), 8u) << "coincident vertices move together";
             EXPECT_NE(after.m_vertices[0].position[0], before.m_vertices[0].position[0]);
             EXPECT_NEAR(after.m_vertices[0].position[0], before.m_vertices[0].position[0], 0.1f);
         }},
        {"TransformMesh",
         "TransformMesh",
         {{"Pos", "0 0 3"}, {"Scale", "2 1 1"}},
         [](const CMesh& before, const CMesh& after) {
             ASSERT_EQ(after.m_vertices.size(), before.m_vertices.size());
             EXPECT_FLOAT_EQ(after.m_vertices[0].position[0], 2 * before.m_vertices[0].position[0]);
             EXPECT_FLOAT_EQ(after.m_vertices[0].position[2], before.m_vertices[0].position[2] + 3);
             EXPECT_NEAR(SignedVolume(after), 2 * SignedVolume(before), 1e-3f);
         },
         "Mesh3"},
        {"PositionToUV",
         "TransformEx",
         {{"InputComponent", "0"}, {"Scale", "2 1 1"}, {"Pos", "0 1 0"}},
         [](const CMesh& before, const CMesh& after) {
             for (size_t v = 0; v < after.m_vertices.size(); ++v) {
                 EXPECT_FLOAT_EQ(after.m_vertices[v].uv[0], 2 * before.m_vertices[v].position[0]);
                 EXPECT_FLOAT_EQ(after.m_vertices[v].uv[1], before.m_vertices[v].position[1] + 1);
                 EXPECT_EQ(after.m_vertices[v].position[0], before.m_vertices[v].position[0]);
             }
         }},
        {"UVToColorOfSelected",
         "TransformEx",
         {{"OutputComponent", "5"}, {"Selection", "2"}},
         [](const CMesh& before, const CMesh& after) {
             for (size_t v = 0; v < after.m_vertices.size(); ++v) {
                 const CMeshVertexA& b = before.m_vertices[v];
                 const uint32_t expected =
                     b.select >= 0.5f ? uint32_t(b.uv[0] * 255.0f) | uint32_t(b.uv[1] * 255.0f) << 8 : b.color;
                 EXPECT_EQ(after.m_vertices[v].color, expected) << v;
             }
         }},
        {"CloneByExpression",
         "CloneMeshExpression",
         {{"NumObjectsX", "2"},
          {"NumObjectsY", "1"},
          {"NumObjectsZ", "1"},
          {"In1", "4"},
          {"Expression", "pos.x = x * 10; pos.y = in1; pos.z = 0; rot.z = rot.z + 180;"}},
         [](const CMesh& before, const CMesh& after) {
             const size_t n = before.m_vertices.size();
             ASSERT_EQ(after.m_vertices.size(), 2 * n);
             const float* p = before.m_vertices[0].position;
             // The first turned half way; the second a whole turn, as rot carries over.
             EXPECT_NEAR(after.m_vertices[0].position[0], 10 - p[0], 1e-4f);
             EXPECT_NEAR(after.m_vertices[0].position[1], 4 - p[1], 1e-4f);
             EXPECT_NEAR(after.m_vertices[n].position[0], 20 + p[0], 1e-4f);
             EXPECT_NEAR(after.m_vertices[n].position[1], 4 + p[1], 1e-4f);
             EXPECT_NEAR(after.m_vertices[n].position[2], p[2], 1e-4f);
         }},
    };
    ASSERT_EQ(source.m_mesh.m_faces.size(), 6u);
    for (const SCase& row : cases) {
        SCOPED_TRACE(row.name);
        CNode* node = scene.AddNode(row.type);
        ASSERT_NE(node, nullptr);
        auto* modifier = dynamic_cast<CPDMesh*>(node);
        ASSERT_NE(modifier, nullptr);
        CPDMesh result;
        // A modifier fails without input; a combiner has nothing to add.
        EXPECT_EQ(modifier->GenerateMesh(&result), std::string(row.input) != "Mesh");
        EXPECT_TRUE(result.m_mesh.m_vertices.empty()) << "no input, no mesh";
        node->GetInPort<CPortMesh>(row.input)->m_value = &source;
        for (const SPort& port : row.ports)
            CValueGraph::Set(node, port.name, port.value);
        ASSERT_TRUE(modifier->GenerateMesh(&result));
        row.check(source.m_mesh, result.m_mesh);
    }
}

TEST_F(MeshModifiers, WeldMergesVerticesWithinEpsilon)
{
    // Two triangles of a square whose shared edge is 0.01 apart.
    CMesh& mesh = source.m_mesh;
    mesh.Clear();
    mesh.AddCluster();
    const float points[6][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 0.01f}, {1.01f, 1}, {0, 1}};
    for (const auto& p : points) {
        CMeshVertexA vertex;
        vertex.position[0] = p[0];
        vertex.position[1] = p[1];
        mesh.m_vertices.push_back(vertex);
    }
    mesh.m_faces = {CMeshFace{0, 3, 0.0f, {0, 1, 2, 0}}, CMeshFace{0, 3, 0.0f, {3, 4, 5, 0}}};
    for (const auto& [epsilon, vertices] : {std::pair{"0.1", 4u}, std::pair{"0.001", 6u}}) {
        SCOPED_TRACE(epsilon);
        CNode* node = scene.AddNode("Weld");
        ASSERT_NE(node, nullptr);
        node->GetInPort<CPortMesh>("Mesh")->m_value = &source;
        CValueGraph::Set(node, "Epsilon", epsilon);
        CPDMesh result;
        ASSERT_TRUE(dynamic_cast<CPDMesh*>(node)->GenerateMesh(&result));
        EXPECT_EQ(result.m_mesh.m_vertices.size(), vertices);
        EXPECT_EQ(result.m_mesh.m_faces.size(), 2u);
    }
}

TEST_F(MeshModifiers, SelectThenDeleteRemovesExactlyTheChosenFaces)
{
    // A thin box around the cube's +x side: only that face lies inside it.
    CNode* select = scene.AddNode("SelectMesh");
    CNode* remove = scene.AddNode("DeleteFaces");
    ASSERT_TRUE(select && remove);
    select->GetInPort<CPortMesh>("Mesh")->m_value = &source;
    remove->GetInPort<CPortMesh>("Mesh")->m_value = dynamic_cast<CPDMesh*>(select);
    for (const SPort& port : std::vector<SPort>{
             {"SelectionType", "0"}, {"Pos", "2.5 0 0"}, {"Scale", "0.1 1 1"}, {"Logic", "2"}, {"Output", "2"}})
        CValueGraph::Set(select, port.name, port.value);
    CPDMesh result;
    ASSERT_TRUE(dynamic_cast<CPDMesh*>(remove)->GenerateMesh(&result));
    ASSERT_EQ(result.m_mesh.m_faces.size(), 5u);
    for (const CMeshFace& face : result.m_mesh.m_faces) {
        int onSide = 0;
        for (int c = 0; c < face.count; ++c)
            onSide += result.m_mesh.m_vertices[size_t(face.vertices[c])].position[0] > 2.4f ? 1 : 0;
        EXPECT_LT(onSide, face.count) << "the +x face is gone, the rest stay";
    }
}
