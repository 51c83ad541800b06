#include "benchnode.h"

#include "app/random.h"
#include "nodes/nodetypes.h"
#include "ports/port.h"
#include "scene/node.h"
#include "scene/nodefactory.h"
#include "scene/scenecontext.h"

#include <memory>

void PullNodeFrames(benchmark::State& state, const char* type,
                    const std::vector<std::pair<const char*, std::string>>& ports, float aspect)
{
    CNodeFactory* factory = CNodeFactory::Get();
    factory->Init(NodeTypes());
    g_random.Seed(5);
    std::unique_ptr<CNode> node = factory->Create(type);
    for (const auto& [name, value] : ports) {
        CPort* in = node->GetInPort(name);
        in->SetValue(value);
        in->m_changed = true;
    }
    CSceneContext context;
    context.m_aspect = context.m_lastAspect = aspect;
    for (auto _ : state) {
        context.m_deltaTime = 1.0f / 30.0f;
        context.m_time += context.m_deltaTime;
        node->m_updated = false;
        node->Pull(&context, context.m_time);
        node->ClearChangedFlags();
        node->FrameFinished();
    }
    node.reset();
    factory->Release();
}
