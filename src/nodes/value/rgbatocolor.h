#pragma once

#include "scene/node.h"

class CPortColor;
class CPortFloat;

// Joins red, green, blue and alpha into a colour. Evaluated on every pull.
class CRGBAToColor : public CNode
{
public:
    bool Init() override;
    void Update(float time, CSceneContext* context) override;

private:
    CPortFloat* m_components[4] = {};
    CPortColor* m_color = nullptr;
};
