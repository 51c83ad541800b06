// Cost of loading a scene: a 50-node graph from an ".lmc" container, as the
// director does at every scene change, and the header-only read with which
// the front end scans its library.

#include "ports/types/portfloat.h"
#include "ports/types/portstring.h"
#include "scene/node.h"
#include "scene/nodefactory.h"
#include "scene/nodeinfo.h"
#include "scene/scene.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace {

// Computes from its inputs, as value nodes do: Out = A + B * Speed + Phase.
class CBenchValueNode : public CNode
{
public:
    bool Init() override
    {
        for (const char* name : {"A", "B", "Speed", "Phase"})
            m_in.push_back(GetInPort<CPortFloat>(name));
        m_out = GetOutPort<CPortFloat>("Out");
        return m_out != nullptr;
    }
    void Update(float time, CSceneContext*) override
    {
        UpdateInPorts(time);
        const float value = m_in[0]->m_value + m_in[1]->m_value * m_in[2]->m_value + m_in[3]->m_value + time;
        m_out->m_changed = value != m_out->m_value;
        m_out->m_value = value;
    }

    std::vector<CPortFloat*> m_in;
    CPortFloat* m_out = nullptr;
};

// The root: pulls what it reads.
class CBenchScreenNode : public CNode
{
public:
    void Update(float time, CSceneContext*) override { UpdateInPorts(time); }
};

// A value node with a few stored ports, registered under a name of the
// factory's order; the Screen node is the root.
struct SSceneFixture
{
    SSceneFixture()
    {
        factory = CNodeFactory::Get();
        value = std::make_unique<CNodeInfo>(NG_Values, "Sin", [] { return static_cast<CNode*>(new CBenchValueNode); });
        for (const char* name : {"A", "B", "Speed", "Phase"})
            value->AddInPort(std::make_unique<CPortFloat>(name, "", 0.0f, 0.1f, -1e6f, 1e6f));
        value->AddInPort(std::make_unique<CPortString>("Note", "", ""));
        value->AddOutPort(std::make_unique<CPortFloat>("Out", "", 0.0f, 0.1f, -1e6f, 1e6f));
        screen = std::make_unique<CNodeInfo>(NG_RenderChain, "Screen",
                                             [] { return static_cast<CNode*>(new CBenchScreenNode); });
        screen->AddInPort(std::make_unique<CPortFloat>("A", "", 0.0f, 0.1f, -1e6f, 1e6f));
        factory->Add(value.get());
        factory->Add(screen.get());

        char pattern[] = "/tmp/lumora-bench-XXXXXX";
        dir = mkdtemp(pattern);
        path = dir + "/bench.lmc";
        CScene scene;
        scene.m_author = "Bench";
        scene.m_tags = {"calm", "blue"};
        scene.AddNode("Screen");
        for (int i = 0; i < 49; ++i) {
            CNode* node = scene.AddNode("Sin");
            node->GetInPort("Speed")->SetValue(std::to_string(0.5 + i));
            node->GetInPort("Note")->SetValue("node " + std::to_string(i));
        }
        // A binary tree below the screen: node i reads nodes 2i+1 and 2i+2.
        for (int i = 0; i < 50; ++i) {
            const std::string name = scene.m_nodes[size_t(i)]->m_name;
            for (int child : {2 * i + 1, 2 * i + 2}) {
                if (child < 50)
                    scene.Connect(scene.m_nodes[size_t(child)]->m_name + ".Out",
                                  name + (child == 2 * i + 1 ? ".A" : ".B"));
            }
        }
        scene.Save(path, false);
    }
    ~SSceneFixture()
    {
        std::filesystem::remove_all(dir);
        factory->Release();
    }

    CNodeFactory* factory;
    std::unique_ptr<CNodeInfo> value;
    std::unique_ptr<CNodeInfo> screen;
    std::string dir;
    std::string path;
};

void BM_Scene_Load(benchmark::State& state)
{
    SSceneFixture fixture;
    const bool loadGraph = state.range(0) != 0;
    for (auto _ : state) {
        CScene scene;
        scene.Load(fixture.path, loadGraph);
        if (loadGraph && scene.m_nodes.size() != 50) {
            state.SkipWithError("the scene didn't load whole");
            break;
        }
        benchmark::DoNotOptimize(scene.m_nodes.data());
    }
}
BENCHMARK(BM_Scene_Load)->ArgName("graph")->Arg(1)->Arg(0)->Unit(benchmark::kMicrosecond);

// One frame's graph update of the loaded 50-node scene: the pull from the
// root, the change flags and the render list.
void BM_Scene_Update(benchmark::State& state)
{
    SSceneFixture fixture;
    CScene scene;
    if (!scene.Load(fixture.path, true) || scene.m_nodes.size() != 50) {
        state.SkipWithError("the scene didn't load whole");
        return;
    }
    for (auto _ : state) {
        scene.Update(1.0f / 30.0f, nullptr);
        benchmark::DoNotOptimize(scene.GetContext().m_time);
    }
    state.SetItemsProcessed(state.iterations() * 50);
}
BENCHMARK(BM_Scene_Update)->Unit(benchmark::kMicrosecond);

} // namespace
