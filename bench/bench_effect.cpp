// Cost of effects: loading and compiling a typical effect the first time and
// again from the caches, and the per-draw work of UpdateParameters.

#include "benchgl.h"
#include "render/fx.h"
#include "renderogl/fxmanagerogl.h"
#include "renderogl/glcontext.h"
#include "renderogl/renderogl.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace {

// Ten parameters, four of them matrices with semantics, a sampler and two
// passes: about what a scene's effect holds.
constexpr const char* kEffect = R"(
float4x4 wvp : WORLDVIEWPROJECTION;
float4x4 world : WORLD;
float4x4 worldIT : WORLDINVERSETRANSPOSE;
float4x4 viewInverse : VIEWINVERSE;
float time = 0;
float4 color = {1, 1, 1, 1};
float2 scale = {1, 1};
float amount = 0.5;
float3 light = {0, 1, 0};
sampler2D image;

struct VOut { float4 pos : POSITION; float2 uv : TEXCOORD0; float3 normal : TEXCOORD1; };

VOut mainVS(float4 pos : POSITION, float3 normal : NORMAL, float2 uv : TEXCOORD0)
{
    VOut o;
    o.pos = mul(wvp, pos);
    o.uv = uv * scale;
    o.normal = mul((float3x3)worldIT, normal) + viewInverse[3].xyz * 0.0;
    return o;
}

float4 mainPS(VOut i) : COLOR
{
    float d = saturate(dot(normalize(i.normal), light));
    float4 c = tex2D(image, i.uv + float2(sin(time), 0) * amount) * color;
    return float4(c.rgb * lerp(0.3, 1.0, d), c.a);
}

float4 glowPS(VOut i) : COLOR { return color * frac(time + i.uv.x); }

technique Main
{
    pass Base { VertexProgram = compile vp40 mainVS(); FragmentProgram = compile fp40 mainPS(); }
    pass Glow { VertexProgram = compile vp40 mainVS(); FragmentProgram = compile fp40 glowPS(); BlendEnable = true; BlendFunc = int2(One, One); }
}
)";

// One small offscreen context for all effect benchmarks.
struct SGL : SBenchGL
{
    CFxManager* Manager() { return render->GetRenderData()->GetFxManager(); }
};

SGL& GL()
{
    static SGL gl;
    return gl;
}

// Every iteration compiles from scratch: the program caches are emptied.
void BM_Effect_LoadCold(benchmark::State& state)
{
    SGL& gl = GL();
    if (!gl.ok) {
        state.SkipWithError("no OpenGL context");
        return;
    }
    auto* manager = static_cast<CFxManagerOGL*>(gl.Manager());
    for (auto _ : state) {
        manager->GetPrograms().Clear();
        std::unique_ptr<CFx> fx(manager->ParseEffect(kEffect));
        benchmark::DoNotOptimize(fx.get());
    }
}
BENCHMARK(BM_Effect_LoadCold)->Unit(benchmark::kMillisecond)->Iterations(5);

// The same effect again: parsing only, programs come from the cache.
void BM_Effect_LoadCached(benchmark::State& state)
{
    SGL& gl = GL();
    if (!gl.ok) {
        state.SkipWithError("no OpenGL context");
        return;
    }
    std::unique_ptr<CFx> first(gl.Manager()->ParseEffect(kEffect));
    for (auto _ : state) {
        std::unique_ptr<CFx> fx(gl.Manager()->ParseEffect(kEffect));
        benchmark::DoNotOptimize(fx.get());
    }
}
BENCHMARK(BM_Effect_LoadCached)->Unit(benchmark::kMicrosecond);

// What each drawn object costs: ten parameters walked, four matrices made.
void BM_Effect_UpdateParameters(benchmark::State& state)
{
    SGL& gl = GL();
    if (!gl.ok) {
        state.SkipWithError("no OpenGL context");
        return;
    }
    std::unique_ptr<CFx> fx(gl.Manager()->ParseEffect(kEffect));
    std::unique_ptr<CFxTechnique> technique(fx ? fx->GetBestTechnique() : nullptr);
    if (!technique) {
        state.SkipWithError("the effect did not compile");
        return;
    }
    CFxPass* pass = technique->FirstPass();
    pass->SetState();
    float angle = 0;
    for (auto _ : state) {
        angle += 0.01f;
        fx->m_world[12] = angle; // a moving object, so every matrix changes
        fx->UpdateParameters(gl.render.get());
    }
    pass->ResetState();
}
BENCHMARK(BM_Effect_UpdateParameters);

} // namespace
