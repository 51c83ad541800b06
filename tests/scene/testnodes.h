#pragma once

#include "scene/nodedeclaration.h"

#include <memory>
#include <string>
#include <vector>

// Node classes for graph tests: "Out" = sum of inputs "A" and "B" + "Bias".
// Each evaluation is recorded in a shared journal.
class CSumNode : public CNode
{
public:
    static TPorts<CSumNode> Ports()
    {
        return {
            In(&CSumNode::m_a, "A", "first term", {0.0f, 0.1f, -1000.0f, 1000.0f}),
            In(&CSumNode::m_b, "B", "second term", {0.0f, 0.1f, -1000.0f, 1000.0f}),
            In(&CSumNode::m_bias, "Bias", "added", {0.0f, 0.1f, -1000.0f, 1000.0f}),
            Out(&CSumNode::m_out, "Out", "sum", {0.0f, 0.1f, -1000.0f, 1000.0f}),
        };
    }

    void Update(float time, CSceneContext*) override
    {
        if (s_journal)
            s_journal->push_back(m_name);
        m_lastTime = time;
        UpdateInPorts(time);
        const float sum = m_a->m_value + m_b->m_value + m_bias->m_value;
        if (sum != m_out->m_value) {
            m_out->m_value = sum;
            m_out->m_changed = true;
        }
    }

    bool RestoreDevice(CRender*) override
    {
        ++m_restores;
        return true;
    }
    void InvalidateDevice(CRender*) override { ++m_invalidates; }

    static inline std::vector<std::string>* s_journal = nullptr;

    CPortFloat* m_a = nullptr;
    CPortFloat* m_b = nullptr;
    CPortFloat* m_bias = nullptr;
    CPortFloat* m_out = nullptr;
    float m_lastTime = -1.0f;
    int m_restores = 0;
    int m_invalidates = 0;
};

// Pulls its inputs and does nothing else, like the root of a graph.
class CPullNode : public CNode
{
public:
    void Update(float time, CSceneContext*) override { UpdateInPorts(time); }
};

// Evaluated on every pull, like the nodes that feed "(Local)" ports.
class CUncachedSumNode : public CSumNode
{
public:
    bool Init() override
    {
        m_updateOnce = false;
        return CSumNode::Init();
    }
};

// A sum type named `name` that makes nodes of class TNode.
template <class TNode = CSumNode>
std::unique_ptr<CNodeInfo> MakeSumInfo(const char* name)
{
    return CNodeDeclaration({Inherited<TNode>(CSumNode::Ports())}).MakeInfo(NG_Values, name, "Adds its inputs");
}

template <class TNode>
std::unique_ptr<TNode> MakeNode(const CNodeInfo& info, const char* name)
{
    auto node = std::make_unique<TNode>();
    node->SetType(info);
    node->Init();
    node->m_name = name;
    return node;
}
