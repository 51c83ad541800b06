#pragma once

#include "expression/expressioncontext.h"
#include "scene/node.h"

#include <array>
#include <string>

class CPortFloat;
class CPortInt;
class CPortString;

// Runs a script of the expression language on five inputs and gives three
// outputs. Evaluated on every pull: read along a "(Local)" port, `time` is
// the element's position.
class CExpressionNode : public CNode
{
public:
    bool Init() override;
    void Update(float time, CSceneContext* context) override;

private:
    friend CNodeDeclaration DeclareNode<CExpressionNode>();

    void SetOutputs(const double (&values)[3]);

    std::array<CPortFloat*, 5> m_inputs{};
    CPortInt* m_randomSeed = nullptr;
    CPortString* m_expression = nullptr;
    std::array<CPortFloat*, 3> m_outputs{};

    CExpressionContext m_expressionContext;
    std::string m_parsedText;
    bool m_parsed = false;

    // The script's variables, bound by address.
    double m_in[5] = {};
    double m_time = 0.0;
    double m_deltaTime = 0.0;
    double m_sceneTime = 0.0;
    double m_perm = 0.0;
    double m_aspect = 0.0;
    double m_permRand = 0.0;
    double m_out[3] = {};
    // Drawn once, so that a script's permrand stays the same for the node's life.
    double m_permRandStart = 0.0;
};
