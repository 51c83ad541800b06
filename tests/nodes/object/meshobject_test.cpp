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

TEST(MeshObject, BuildsDeviceBuffersOnlyWhenItsMeshChanges)
{
    CNodeFactory* factory = CNodeFactory::Get();
    factory->Init(NodeTypes());
    CMemoryRender render;
    {
        CScene scene;
        for (const char* type : {"Screen", "RenderObject", "MeshObject", "Cube", "Shader"})
            ASSERT_NE(scene.AddNode(type), nullptr) << type;
        ASSERT_TRUE(scene.Connect("RenderObject1.Render", "Screen1.Render"));
        ASSERT_TRUE(scene.Connect("MeshObject1.Object", "RenderObject1.Object"));
        ASSERT_TRUE(scene.Connect("Shader1.Effect", "MeshObject1.Effect"));
        ASSERT_TRUE(scene.Connect("Cube1.Mesh", "MeshObject1.Mesh"));
        auto* cube = dynamic_cast<CPDMesh*>(scene.FindNode("Cube1"));
        ASSERT_NE(cube, nullptr);
        auto frame = [&] {
            scene.Update(1.0f / 30.0f, &render);
            scene.Draw(&render);
            scene.FrameFinished();
        };
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
        scene.InvalidateDevice(&render);
    }
    factory->Release();
}

// Every instance of a MeshInstancer comes from one instanced draw of its mesh.
TEST(MeshInstancer, DrawsAllInstancesInOneDrawCall)
{
    CNodeFactory* factory = CNodeFactory::Get();
    factory->Init(NodeTypes());
    CMemoryRender render;
    {
        CScene scene;
        for (const char* type : {"Screen", "RenderObject", "MeshInstancer", "Cube", "Shader"})
            ASSERT_NE(scene.AddNode(type), nullptr) << type;
        ASSERT_TRUE(scene.Connect("RenderObject1.Render", "Screen1.Render"));
        ASSERT_TRUE(scene.Connect("MeshInstancer1.Object", "RenderObject1.Object"));
        ASSERT_TRUE(scene.Connect("Shader1.Effect", "MeshInstancer1.Effect"));
        ASSERT_TRUE(scene.Connect("Cube1.Mesh", "MeshInstancer1.Mesh"));
        // The scene makes the device buffers; the object is drawn by hand, as
        // effects need a real device.
        auto* instancer = dynamic_cast<CPDObject*>(scene.FindNode("MeshInstancer1"));
        ASSERT_NE(instancer, nullptr);
        auto frame = [&] {
            scene.Update(1.0f / 30.0f, &render);
            scene.Draw(&render);
            render.m_draws.clear();
            instancer->Draw(&render);
            scene.FrameFinished();
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
        scene.InvalidateDevice(&render);
    }
    factory->Release();
}
