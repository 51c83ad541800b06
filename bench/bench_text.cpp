// Cost of a frame of the text and placing nodes on a small offscreen context:
// a TextWriter laying out and drawing all its characters (BM_Text_Draw, per
// character), and Clone drawing a cube many times through the render list
// (BM_Clone, per clone). Each frame is a scene's update and draw.

#include "app/paths.h"
#include "benchgl.h"
#include "nodes/nodetypes.h"
#include "ports/port.h"
#include "render/fxmanager.h"
#include "scene/nodefactory.h"
#include "scene/scene.h"

#include <GL/glew.h>
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

namespace {

// Screen <- RenderObject <- the object under test, scaled to fit the view.
class CObjectBench
{
public:
    explicit CObjectBench(const char* object)
    {
        setenv("LUMORA_APPPATH", LUMORA_SOURCE_DATA_DIR, 0);
        g_paths.Setup();
        m_factory->Init(NodeTypes());
        if (m_gl.ok)
            m_gl.render->GetRenderData()->GetFxManager()->m_includeDirectory = g_paths.m_appPath + "/nodedata";
        for (const char* type : {"Screen", "RenderObject", object})
            m_scene.AddNode(type);
        m_scene.Connect("RenderObject1.Render", "Screen1.Render");
        m_scene.Connect(std::string(object) + "1.Object", "RenderObject1.Object");
        Set("RenderObject1.Scale", "0.02 0.02 0.02");
    }
    ~CObjectBench()
    {
        m_scene.InvalidateDevice(m_gl.render.get());
        m_factory->Release();
        m_gl.render->ReleaseDevice();
    }

    void Set(const std::string& path, const std::string& value)
    {
        std::string component;
        if (CPort* port = m_scene.FindInPort(path, &component)) {
            port->SetValue(value);
            port->m_changed = true;
        }
    }
    void Frame()
    {
        m_scene.Update(1.0f / 30.0f, m_gl.render.get());
        m_scene.Draw(m_gl.render.get());
        m_scene.FrameFinished();
        glFinish();
    }

    SBenchGL m_gl;
    CNodeFactory* m_factory = CNodeFactory::Get();
    CScene m_scene;
};

// Lines of 100 characters. The first frames evaluate the writer's default
// expression for every young character; the measured frames are those after
// the characters have settled, as most frames of a title are.
void BM_Text_Draw(benchmark::State& state)
{
    CObjectBench bench("TextWriter");
    if (!bench.m_gl.ok) {
        state.SkipWithError("no GL context");
        return;
    }
    const int chars = int(state.range(0));
    std::string text;
    for (int i = 0; i < chars; ++i)
        text += i % 100 == 99 ? '\n' : char('a' + i % 26);
    bench.Set("TextWriter1.TextLines", text);
    bench.Set("TextWriter1.UseCharsPerSec", "false");
    bench.Set("TextWriter1.CharExpressionTime", "0.1");
    for (int i = 0; i < 5; ++i)
        bench.Frame();
    for (auto _ : state)
        bench.Frame();
    state.SetItemsProcessed(state.iterations() * chars);
}
BENCHMARK(BM_Text_Draw)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

// The same text while every character is still shaped by the expression.
void BM_Text_Draw_Young(benchmark::State& state)
{
    CObjectBench bench("TextWriter");
    if (!bench.m_gl.ok) {
        state.SkipWithError("no GL context");
        return;
    }
    const int chars = int(state.range(0));
    bench.Set("TextWriter1.TextLines", std::string(size_t(chars), 'x'));
    bench.Set("TextWriter1.UseCharsPerSec", "false");
    bench.Set("TextWriter1.CharExpressionTime", "100000");
    bench.Frame();
    for (auto _ : state)
        bench.Frame();
    state.SetItemsProcessed(state.iterations() * chars);
}
BENCHMARK(BM_Text_Draw_Young)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_Clone(benchmark::State& state)
{
    CObjectBench bench("Clone");
    if (!bench.m_gl.ok) {
        state.SkipWithError("no GL context");
        return;
    }
    for (const char* type : {"MeshObject", "Cube", "Shader"})
        bench.m_scene.AddNode(type);
    bench.m_scene.Connect("MeshObject1.Object", "Clone1.Object");
    bench.m_scene.Connect("Cube1.Mesh", "MeshObject1.Mesh");
    bench.m_scene.Connect("Shader1.Effect", "MeshObject1.Effect");
    const int count = int(state.range(0));
    bench.Set("Clone1.NumClones", std::to_string(count));
    bench.Set("Clone1.PosChange", "0.01 0.003 0");
    bench.Set("Clone1.RotChange", "1 2 3");
    bench.Frame();
    for (auto _ : state)
        bench.Frame();
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(BM_Clone)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

} // namespace
