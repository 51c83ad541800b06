// A mesh chain behind a MeshObject: generated and turned into device buffers
// when something upstream changes, and not on the frames between.

#include "mesh/memoryrender.h"
#include "nodes/nodetypes.h"
#include "nodes/value/valuegraph.h"
#include "scene/nodefactory.h"
#include "scene/pdmesh.h"
#include "scene/pdobject.h"
#include "scene/scene.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// Screen <- RenderObject <- `object` (a MeshObject or MeshInstancer) drawing a
// Cube with a Shader.
void AddCubeChain(CScene& scene, const std::string& object)
{
    for (const std::string& type : {std::string("Screen"), std::string("RenderObject"), object, std::string("Cube"),
                                    std::string("Shader")})
        ASSERT_NE(scene.AddNode(type), nullptr) << type;
    ASSERT_TRUE(scene.Connect("RenderObject1.Render", "Screen1.Render"));
    ASSERT_TRUE(scene.Connect(object + "1.Object", "RenderObject1.Object"));
    ASSERT_TRUE(scene.Connect("Shader1.Effect", object + "1.Effect"));
    ASSERT_TRUE(scene.Connect("Cube1.Mesh", object + "1.Mesh"));
}

class MeshObjects : public testing::Test
{
protected:
    void TearDown() override { scene.InvalidateDevice(&render); }
    // One frame through the scene, which makes the device buffers.
    void Frame()
    {
        scene.Update(1.0f / 30.0f, &render);
        scene.Draw(&render);
        scene.FrameFinished();
    }

    // The node types are known from before the scene is made until after it
    // is gone.
    struct SFactory
    {
        SFactory() { CNodeFactory::Get()->Init(NodeTypes()); }
        ~SFactory() { CNodeFactory::Get()->Release(); }
    } factory;
    CMemoryRender render;
    CScene scene;
};

} // namespace

TEST_F(MeshObjects, BuildDeviceBuffersOnlyWhenTheirMeshChanges)
{
    {
        ASSERT_NO_FATAL_FAILURE(AddCubeChain(scene, "MeshObject"));
        auto* cube = dynamic_cast<CPDMesh*>(scene.FindNode("Cube1"));
        ASSERT_NE(cube, nullptr);
        auto frame = [&] { Frame(); };
        auto firstU = [&] {
            const auto* buffer = static_cast<CMemoryRender::CMemoryVertexBuffer*>(cube->dObjs[0].m_vertexBuffer.get());
            return buffer ? buffer->m_data[1].uv[0] : -1.0f;
        };

        frame();
        ASSERT_NE(cube->dObjs[0].m_vertexBuffer, nullptr);
        EXPECT_EQ(cube->dObjs[0].m_vertexBuffer->m_count, 24);
        EXPECT_EQ(cube->dObjs[0].m_indexCount, 36);
        const int created = render.m_created;
        const float u = firstU();
        for (int i = 0; i < 3; ++i)
            frame();
        EXPECT_EQ(render.m_created, created) << "nothing changed, nothing is rebuilt";
        EXPECT_EQ(cube->m_mesh.m_vertices.size(), 24u) << "each generation starts from an empty mesh";

        // A new uv scale keeps the sizes: the same buffers, new contents.
        CValueGraph::Set(scene.FindNode("Cube1"), "ScaleU", "2");
        frame();
        EXPECT_EQ(render.m_created, created);
        EXPECT_EQ(firstU(), 2 * u);

        // More tessellation needs bigger buffers.
        CValueGraph::Set(scene.FindNode("Cube1"), "TesselateX", "2");
        frame();
        EXPECT_EQ(render.m_created, created + 2);
        EXPECT_EQ(cube->dObjs[0].m_vertexBuffer->m_count, 2 * ((1 + 1 + 2) * 3 + 2 * 2));
    }
}

// Every instance of a MeshInstancer comes from one instanced draw of its mesh.
TEST_F(MeshObjects, InstancerDrawsAllInstancesInOneDrawCall)
{
    {
        ASSERT_NO_FATAL_FAILURE(AddCubeChain(scene, "MeshInstancer"));
        // The object is drawn by hand after each frame, as effects need a
        // real device.
        auto* instancer = dynamic_cast<CPDObject*>(scene.FindNode("MeshInstancer1"));
        ASSERT_NE(instancer, nullptr);
        auto frame = [&] {
            Frame();
            render.m_draws.clear();
            instancer->Draw(&render);
        };

        CValueGraph::Set(scene.FindNode("MeshInstancer1"), "NumInstances", "1000");
        frame();
        ASSERT_EQ(render.m_draws.size(), 1u);
        EXPECT_EQ(render.m_draws[0].instances, 1000);
        EXPECT_EQ(render.m_draws[0].primitives, 12) << "a cube of six two-triangle sides";

        // A count below one still draws the mesh once rather than nothing.
        CValueGraph::Set(scene.FindNode("MeshInstancer1"), "NumInstances", "0");
        frame();
        ASSERT_EQ(render.m_draws.size(), 1u);
        EXPECT_EQ(render.m_draws[0].instances, 1);

        // Without a mesh there is nothing to draw, and no failure either.
        ASSERT_TRUE(scene.Disconnect("Cube1.Mesh", "MeshInstancer1.Mesh"));
        frame();
        EXPECT_TRUE(render.m_draws.empty());
    }
}
