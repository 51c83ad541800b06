#include "nodes/value/vectornode.h"

#include "ports/types/portfloat.h"
#include "ports/types/portvector.h"
#include "scene/nodedeclaration.h"
#include "scene/nodeinfo.h"

namespace {

constexpr const char* Names[] = {"x", "y", "z"};

std::unique_ptr<CNodeInfo> DeclareVectorNode()
{
    auto info =
        std::make_unique<CNodeInfo>(NG_Vectors, "Vector", [] { return static_cast<CNode*>(new CVectorNode); });
    info->m_desc = "Combines a x, y and z component to a 3d vector";
    const char* descs[] = {"The x component", "The y component", "The z component"};
    for (int i = 0; i < 3; ++i)
        info->AddInPort(std::make_unique<CPortFloat>(Names[i], descs[i], 0.0f, 0.01f, -1000000.0f, 1000000.0f));
    info->AddOutPort(CPortVector::Make("Vector", "The vector", {0, 0, 0}, 0.1f, 10000.0f));
    return info;
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CVectorNode>()
{
    return CNodeDeclaration(DeclareVectorNode());
}

bool CVectorNode::Init()
{
    m_updateOnce = false;
    bool found = true;
    for (int i = 0; i < 3; ++i)
        found &= (m_components[i] = GetInPort<CPortFloat>(Names[i])) != nullptr;
    m_vector = GetOutPort<CPortVector>("Vector");
    return found && m_vector;
}

void CVectorNode::Update(float time, CSceneContext*)
{
    // From the last to the first, the order connected scripts have seen.
    for (int i = 2; i >= 0; --i) {
        m_components[i]->Update(time);
        m_vector->m_value[size_t(i)] = m_components[i]->m_value;
    }
    m_vector->m_changed = true;
}
