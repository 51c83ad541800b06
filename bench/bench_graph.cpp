// Cost of one graph update: pulling a tree of value nodes from its root, with
// cached and with per-pull nodes, as a scene does every frame.

#include "ports/types/portfloat.h"
#include "scene/node.h"
#include "scene/nodeinfo.h"
#include "scene/scenecontext.h"

#include <benchmark/benchmark.h>
#include <memory>
#include <vector>

namespace {

class CAddNode : public CNode
{
public:
    bool Init() override
    {
        m_a = GetInPort<CPortFloat>("A");
        m_b = GetInPort<CPortFloat>("B");
        m_out = GetOutPort<CPortFloat>("Out");
        return true;
    }
    void Update(float time, CSceneContext*) override
    {
        if (UpdateInPorts(time) || m_out->m_changed) {
            m_out->m_value = m_a->m_value + m_b->m_value + 1.0f;
            m_out->m_changed = true;
        }
    }
    CPortFloat* m_a = nullptr;
    CPortFloat* m_b = nullptr;
    CPortFloat* m_out = nullptr;
};

std::unique_ptr<CNodeInfo> MakeAddInfo()
{
    auto info = std::make_unique<CNodeInfo>(NG_Values, "Add", [] { return static_cast<CNode*>(new CAddNode); });
    info->AddInPort(std::make_unique<CPortFloat>("A", "", 0.0f, 0.1f, -1e9f, 1e9f));
    info->AddInPort(std::make_unique<CPortFloat>("B", "", 0.0f, 0.1f, -1e9f, 1e9f));
    info->AddOutPort(std::make_unique<CPortFloat>("Out", "", 0.0f, 0.1f, -1e9f, 1e9f));
    return info;
}

// A binary tree of `count` nodes; node i reads nodes 2i+1 and 2i+2.
struct STree
{
    explicit STree(int count)
    {
        info = MakeAddInfo();
        for (int i = 0; i < count; ++i) {
            auto node = std::unique_ptr<CNode>(info->m_create());
            node->SetType(*info);
            node->Init();
            nodes.push_back(std::move(node));
        }
        for (int i = 0; i < count; ++i) {
            if (2 * i + 1 < count)
                nodes[i]->Connect("A", nodes[2 * i + 1].get(), "Out");
            if (2 * i + 2 < count)
                nodes[i]->Connect("B", nodes[2 * i + 2].get(), "Out");
        }
    }

    void Frame()
    {
        for (auto& node : nodes)
            node->m_updated = false;
        nodes.front()->Pull(&context, 0.0f);
        for (auto& node : nodes)
            node->ClearChangedFlags();
    }

    std::unique_ptr<CNodeInfo> info;
    std::vector<std::unique_ptr<CNode>> nodes;
    CSceneContext context;
};

void BM_GraphPull(benchmark::State& state)
{
    STree tree(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        tree.Frame();
        benchmark::DoNotOptimize(tree.nodes.front().get());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_GraphPull)->Arg(15)->Arg(255)->Arg(4095);

void BM_PortSetValueFromText(benchmark::State& state)
{
    CPortFloat port("Speed", "", 0.0f, 0.1f, -10.0f, 10.0f);
    for (auto _ : state) {
        port.SetValue("3.14159");
        benchmark::DoNotOptimize(port.m_value);
    }
}
BENCHMARK(BM_PortSetValueFromText);

} // namespace
