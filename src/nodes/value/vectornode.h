#pragma once

#include "scene/node.h"

class CPortFloat;
class CPortVector;

// Joins three numbers into a vector. Evaluated on every pull.
class CVectorNode : public CNode
{
public:
    bool Init() override;
    void Update(float time, CSceneContext* context) override;

private:
    CPortFloat* m_components[3] = {};
    CPortVector* m_vector = nullptr;
};
