#include "nodes/value/expressionnode.h"

#include "app/random.h"
#include "scene/nodedeclaration.h"
#include "scene/scenecontext.h"

template <>
CNodeDeclaration DeclareNode<CExpressionNode>()
{
    return {EEvaluation::EveryPull,
            {
                InEach(&CExpressionNode::m_inputs, "In", "12345", "Input, in# in the expression",
                       {0.0f, 0.01f, -10000.0f, 10000.0f}),
                In(&CExpressionNode::m_randomSeed, "RandomSeed", "Seed of rand() and srand()", {1, 1, 100000}),
                In(&CExpressionNode::m_expression, "Expression", "The program", "out1=sin(time)/2"),
                OutEach(&CExpressionNode::m_outputs, "Out", "123", "out# of the expression", {0.0f, 0.01f, 0.0f, 1.0f}),
            }};
}

bool CExpressionNode::Init()
{
    m_permRandStart = g_random.NextUnit();
    const char* inNames[] = {"in1", "in2", "in3", "in4", "in5"};
    for (int i = 0; i < 5; ++i)
        m_expressionContext.AddVariable(inNames[i], &m_in[i], 1.0);
    m_expressionContext.AddVariable("time", &m_time, 1.0);
    m_expressionContext.AddVariable("deltatime", &m_deltaTime, 1.0);
    m_expressionContext.AddVariable("scenetime", &m_sceneTime, 1.0);
    m_expressionContext.AddVariable("perm", &m_perm, 0.0);
    m_expressionContext.AddVariable("aspect", &m_aspect, 1.0);
    m_expressionContext.AddVariable("permrand", &m_permRand, m_permRandStart);
    m_expressionContext.AddVariable("out1", &m_out[0], 0.0);
    m_expressionContext.AddVariable("out2", &m_out[1], 0.0);
    m_expressionContext.AddVariable("out3", &m_out[2], 0.0);
    m_expressionContext.BindLists();
    return true;
}

void CExpressionNode::SetOutputs(const double (&values)[3])
{
    for (int i = 0; i < 3; ++i) {
        m_outputs[i]->m_value = static_cast<float>(values[i]);
        m_outputs[i]->m_changed = true;
    }
}

void CExpressionNode::Update(float time, CSceneContext* context)
{
    UpdateInPorts(time);

    // The port keeps its change flag for the whole frame, and a "(Local)"
    // reader pulls many times in it: the text is parsed once, and `perm`
    // starts over only when the text really changes.
    const std::string& text = m_expression->m_value;
    if (m_expression->m_changed && (!m_parsed || text != m_parsedText)) {
        m_expressionContext.Parse(text);
        m_parsedText = text;
        m_parsed = true;
        m_permRand = m_permRandStart;
    }
    if (!m_expressionContext.IsValid()) {
        SetOutputs({0.0, 0.0, 0.0});
        return;
    }

    for (int i = 0; i < 5; ++i)
        m_in[i] = m_inputs[i]->m_value;
    m_time = time;
    if (context) {
        m_sceneTime = context->m_time;
        m_deltaTime = context->m_deltaTime;
        m_aspect = context->m_aspect;
    }
    // Reseeded every evaluation: rand() gives the same numbers each frame
    // unless the script varies the seed.
    m_expressionContext.SeedRandom(static_cast<uint32_t>(m_randomSeed->m_value));

    m_out[0] = m_out[1] = m_out[2] = 0.0;
    m_expressionContext.Evaluate();
    // A failure half-way must not leave the outputs of a partial run.
    if (!m_expressionContext.IsValid()) {
        SetOutputs({0.0, 0.0, 0.0});
        return;
    }
    SetOutputs(m_out);
}
