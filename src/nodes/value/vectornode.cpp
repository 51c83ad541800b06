#include "nodes/value/vectornode.h"

#include "ports/types/portfloat.h"
#include "ports/types/portvector.h"
#include "scene/nodedeclaration.h"

template <>
CNodeDeclaration DeclareNode<CVectorNode>()
{
    return {
        EEvaluation::EveryPull,
        {
            InEach(&CVectorNode::m_components, "", "xyz", "The # component", {0.0f, 0.01f, -1000000.0f, 1000000.0f}),
            Out(&CVectorNode::m_vector, "Vector", "The vector", {{0, 0, 0}, 0.1f, 10000.0f}),
        }};
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
