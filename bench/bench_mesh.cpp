#include "mesh/meshshapes.h"
#include "nodes/nodetypes.h"
#include "ports/types/dataports.h"
#include "scene/node.h"
#include "scene/nodefactory.h"
#include "scene/pdmesh.h"
#include "scene/scene.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <string>

namespace {

// A sphere whose tessellation gives about the requested number of vertices.
SSphereShape SphereOf(int64_t vertices)
{
    const int side = int(std::sqrt(double(vertices)));
    return {1.0f, side, side};
}

void BM_Mesh_Generate_Sphere(benchmark::State& state)
{
    CMesh mesh;
    for (auto _ : state) {
        BuildSphere(mesh, {1.0f, int(state.range(0)), int(state.range(0))});
        benchmark::DoNotOptimize(mesh.m_vertices.data());
    }
    state.SetItemsProcessed(state.iterations() * int64_t(mesh.m_vertices.size()));
}
BENCHMARK(BM_Mesh_Generate_Sphere)
    ->Name("BM_Mesh_Generate/Sphere")
    ->Arg(100)
    ->Arg(316)
    ->Arg(1000)
    ->Unit(benchmark::kMillisecond);

void BM_Mesh_NormalsTangents(benchmark::State& state)
{
    CMesh mesh;
    BuildSphere(mesh, SphereOf(state.range(0)));
    for (auto _ : state) {
        mesh.CalcNormalsAndTangents();
        benchmark::DoNotOptimize(mesh.m_vertices.data());
    }
    state.SetItemsProcessed(state.iterations() * int64_t(mesh.m_vertices.size()));
}
BENCHMARK(BM_Mesh_NormalsTangents)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

void BM_Mesh_Weld(benchmark::State& state)
{
    CMesh sphere;
    BuildSphere(sphere, SphereOf(state.range(0)));
    CMesh mesh;
    for (auto _ : state) {
        state.PauseTiming();
        mesh = sphere;
        state.ResumeTiming();
        mesh.WeldDistance(1e-4f);
        benchmark::DoNotOptimize(mesh.m_vertices.data());
    }
    state.SetItemsProcessed(state.iterations() * int64_t(sphere.m_vertices.size()));
}
BENCHMARK(BM_Mesh_Weld)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

// A CloneMesh node copying a 10×10×10 tessellated cube (600 faces).
void BM_Mesh_CloneMesh(benchmark::State& state)
{
    CNodeFactory::Get()->Init(NodeTypes());
    {
        CScene scene;
        CNode* cube = scene.AddNode("Cube");
        CNode* clone = scene.AddNode("CloneMesh");
        // Set as the scene's update would, without running one.
        clone->GetInPort<CPortMesh>("Mesh")->m_value = dynamic_cast<CPDMesh*>(cube);
        for (const char* axis : {"TesselateX", "TesselateY", "TesselateZ"})
            cube->GetInPort(axis)->SetValue("10");
        clone->GetInPort("NumClones")->SetValue(std::to_string(state.range(0)));
        clone->GetInPort("RotChange")->SetValue("3 5 7");
        auto* mesh = dynamic_cast<CPDMesh*>(clone);
        CPDMesh target;
        for (auto _ : state) {
            target.m_mesh.Clear();
            mesh->GenerateMesh(&target);
            benchmark::DoNotOptimize(target.m_mesh.m_vertices.data());
        }
        state.SetItemsProcessed(state.iterations() * int64_t(target.m_mesh.m_faces.size()));
    }
    CNodeFactory::Get()->Release();
}
BENCHMARK(BM_Mesh_CloneMesh)->Arg(10)->Arg(20)->Arg(40)->Arg(80)->Unit(benchmark::kMillisecond);

} // namespace
