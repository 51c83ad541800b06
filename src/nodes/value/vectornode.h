#pragma once

#include "scene/node.h"

#include <array>

class CPortFloat;
class CPortVector;

// Joins three numbers into a vector. Evaluated on every pull.
class CVectorNode : public CNode
{
public:
    void Update(float time, CSceneContext* context) override;

private:
    friend CNodeDeclaration DeclareNode<CVectorNode>();

    std::array<CPortFloat*, 3> m_components{};
    CPortVector* m_vector = nullptr;
};
