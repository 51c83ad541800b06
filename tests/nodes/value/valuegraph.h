#pragma once

#include "nodes/nodetypes.h"
#include "ports/types/portcolor.h"
#include "ports/types/portfloat.h"
#include "scene/node.h"
#include "scene/nodefactory.h"
#include "scene/nodeinfo.h"
#include "scene/scenecontext.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

// Reads its "Value" input along n elements, as nodes with "(Local)" ports
// do: the port is updated with each element's position from 0 to 1.
class CLocalReaderNode : public CNode
{
public:
    static const CNodeInfo& Info()
    {
        static const std::unique_ptr<CNodeInfo> info = [] {
            auto made = std::make_unique<CNodeInfo>(NG_Values, "LocalReader",
                                                    [] { return static_cast<CNode*>(nullptr); });
            made->AddInPort(std::make_unique<CPortFloat>("Value", "(Local)", 0.0f, 0.01f, -1e6f, 1e6f));
            return made;
        }();
        return *info;
    }

    std::vector<float> Floats(int n)
    {
        std::vector<float> values;
        auto* port = GetInPort<CPortFloat>("Value");
        for (int i = 0; i < n; ++i) {
            port->Update(n > 1 ? float(i) / float(n - 1) : 0.0f);
            values.push_back(port->m_value);
        }
        return values;
    }
};

// Nodes made by the factory and pulled frame by frame as a scene does:
// m_updated cleared before, change flags cleared after.
class CValueGraph
{
public:
    CValueGraph() : m_factory(CNodeFactory::Get()) { m_factory->Init(NodeTypes()); }
    ~CValueGraph()
    {
        m_nodes.clear();
        m_factory->Release();
    }
    CValueGraph(const CValueGraph&) = delete;
    CValueGraph& operator=(const CValueGraph&) = delete;

    CNode* Add(const char* type) { return Keep(m_factory->Create(type)); }
    CLocalReaderNode* AddReader()
    {
        auto reader = std::make_unique<CLocalReaderNode>();
        reader->SetType(CLocalReaderNode::Info());
        return static_cast<CLocalReaderNode*>(Keep(std::move(reader)));
    }

    static void Set(CNode* node, const char* port, const std::string& text)
    {
        CPort* in = node->GetInPort(port);
        ASSERT_NE(in, nullptr) << port;
        in->SetValue(text);
        in->m_changed = true;
    }
    static float Out(CNode* node, const char* port) { return node->GetOutPort<CPortFloat>(port)->m_value; }
    static CPortColor::Rgba Color(CNode* node) { return node->GetOutPort<CPortColor>("Color")->m_value; }

    // A frame of `delta` seconds that pulls `node` with the scene time.
    void Frame(CNode* node, float delta)
    {
        Begin(delta);
        node->Pull(&m_context, m_context.m_time);
        End();
    }
    // A frame in which `reader` reads its input along n elements.
    std::vector<float> LocalFrame(CLocalReaderNode* reader, int n, float delta)
    {
        Begin(delta);
        reader->Pull(&m_context, m_context.m_time);
        std::vector<float> values = reader->Floats(n);
        End();
        return values;
    }
    void Begin(float delta)
    {
        for (auto& node : m_nodes)
            node->m_updated = false;
        m_context.m_deltaTime = delta;
        m_context.m_time += delta;
    }
    void End()
    {
        for (auto& node : m_nodes)
            node->ClearChangedFlags();
    }

    CSceneContext m_context;

private:
    CNode* Keep(std::unique_ptr<CNode> node)
    {
        EXPECT_NE(node, nullptr);
        m_nodes.push_back(std::move(node));
        return m_nodes.back().get();
    }

    CNodeFactory* m_factory;
    std::vector<std::unique_ptr<CNode>> m_nodes;
};

inline void ExpectFloats(const std::vector<float>& actual, const std::vector<float>& expected, float tolerance,
                         const std::string& what)
{
    ASSERT_EQ(actual.size(), expected.size()) << what;
    for (size_t i = 0; i < actual.size(); ++i)
        EXPECT_NEAR(actual[i], expected[i], tolerance) << what << " at " << i;
}
