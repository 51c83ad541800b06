#include "mesh/meshshapes.h"

#include <benchmark/benchmark.h>

#include <cmath>

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
BENCHMARK(BM_Mesh_Generate_Sphere)->Name("BM_Mesh_Generate/Sphere")->Arg(100)->Arg(316)->Arg(1000)
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

} // namespace
