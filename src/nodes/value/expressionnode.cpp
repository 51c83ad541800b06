#include "nodes/value/expressionnode.h"

#include "app/random.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "ports/types/portstring.h"
#include "scene/nodedeclaration.h"
#include "scene/nodeinfo.h"
#include "scene/scenecontext.h"

#include <cstdio>

namespace {

std::unique_ptr<CNodeInfo> DeclareExpressionNode()
{
    auto info =
        std::make_unique<CNodeInfo>(NG_Values, "Expression", [] { return static_cast<CNode*>(new CExpressionNode); });
    info->m_desc = "Math expression evaluator. Please see the website for a detailed description of this node";
    for (int i = 1; i <= 5; ++i) {
        char name[8];
        char desc[32];
        std::snprintf(name, sizeof name, "In%d", i);
        std::snprintf(desc, sizeof desc, "Input, in%d in the expression", i);
        info->AddInPort(std::make_unique<CPortFloat>(name, desc, 0.0f, 0.01f, -10000.0f, 10000.0f));
    }
    info->AddInPort(std::make_unique<CPortInt>("RandomSeed", "Seed of rand() and srand()", 1, 1, 100000));
    info->AddInPort(std::make_unique<CPortString>("Expression", "The program", "out1=sin(time)/2"));
    for (int i = 1; i <= 3; ++i) {
        char name[8];
        char desc[32];
        std::snprintf(name, sizeof name, "Out%d", i);
        std::snprintf(desc, sizeof desc, "out%d of the expression", i);
        info->AddOutPort(std::make_unique<CPortFloat>(name, desc, 0.0f, 0.01f, 0.0f, 1.0f));
    }
    return info;
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CExpressionNode>()
{
    return CNodeDeclaration(DeclareExpressionNode());
}

bool CExpressionNode::Init()
{
    m_updateOnce = false;

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

    bool found = true;
    const char* inPorts[] = {"In1", "In2", "In3", "In4", "In5"};
    for (int i = 0; i < 5; ++i)
        found &= (m_inputs[i] = GetInPort<CPortFloat>(inPorts[i])) != nullptr;
    const char* outPorts[] = {"Out1", "Out2", "Out3"};
    for (int i = 0; i < 3; ++i)
        found &= (m_outputs[i] = GetOutPort<CPortFloat>(outPorts[i])) != nullptr;
    m_randomSeed = GetInPort<CPortInt>("RandomSeed");
    m_expression = GetInPort<CPortString>("Expression");
    return found && m_randomSeed && m_expression;
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
