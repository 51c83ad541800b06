#pragma once

#include "scene/node.h"

#include <array>

class CPortColor;
class CPortFloat;

// Joins red, green, blue and alpha into a colour. Evaluated on every pull.
class CRGBAToColor : public CNode
{
public:
    void Update(float time, CSceneContext* context) override;

private:
    friend CNodeDeclaration DeclareNode<CRGBAToColor>();

    std::array<CPortFloat*, 4> m_components{};
    CPortColor* m_color = nullptr;
};
