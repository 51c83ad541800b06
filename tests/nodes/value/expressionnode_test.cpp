// The Expression node in small graphs: its inputs and variables, state that
// lives across frames, its random seed, what a reader sees along its
// elements, and how it behaves with a text that can't run.

#include "app/random.h"
#include "support/logcapture.h"
#include "valuegraph.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

std::vector<float> Outputs(CNode* node)
{
    return {CValueGraph::Out(node, "Out1"), CValueGraph::Out(node, "Out2"), CValueGraph::Out(node, "Out3")};
}

} // namespace

TEST(ExpressionNode, ComputesItsOutputsFromItsInputsAndTheScene)
{
    CValueGraph graph;
    CNode* node = graph.Add("Expression");
    graph.m_context.m_time = 1.0f;
    graph.Frame(node, 0.25f);
    ExpectFloats(Outputs(node), {float(std::sin(1.25) / 2), 0, 0}, 1e-6f, "the default program");

    graph.Set(node, "Expression", "out1 = in1 + in2; out2 = in3 * in4; out3 = in5 - 1");
    graph.Set(node, "In1", "1.5");
    graph.Set(node, "In3", "-2");
    graph.Set(node, "In4", "4");
    CNode* wave = graph.Add("SignalGenerator");
    graph.Set(wave, "Offset", "7");
    ASSERT_TRUE(node->Connect("In5", wave, "Value"));
    graph.m_context.m_time = 0.0f;
    graph.Frame(node, 0.25f); // the sine at a quarter cycle is 1
    ExpectFloats(Outputs(node), {1.5f, -8, 7}, 1e-6f, "inputs, In2 unset");

    graph.Set(node, "Expression", "out1 = scenetime; out2 = deltatime; out3 = aspect * 10");
    graph.m_context.m_aspect = 1.5f;
    graph.Frame(node, 0.125f);
    ExpectFloats(Outputs(node), {0.375f, 0.125f, 15}, 1e-6f, "the scene");

    // Outputs start at 0 in every evaluation; one that isn't assigned stays there.
    graph.Set(node, "Expression", "out2 = out2 + 3; 99");
    for (int frame = 0; frame < 2; ++frame) {
        graph.Frame(node, 0.1f);
        ExpectFloats(Outputs(node), {0, 3, 0}, 0, "frame " + std::to_string(frame));
    }
}

TEST(ExpressionNode, KeepsPermUntilTheTextChangesAndPermrandForever)
{
    CValueGraph graph;
    CNode* node = graph.Add("Expression");
    graph.Set(node, "Expression", "perm = perm + 1; out1 = perm; out2 = permrand");
    graph.Frame(node, 0.1f);
    const float permrand = Outputs(node)[1];
    EXPECT_TRUE(permrand >= 0.0f && permrand <= 1.0f) << permrand;
    for (float perm : {2.0f, 3.0f}) {
        graph.Frame(node, 0.1f);
        ExpectFloats(Outputs(node), {perm, permrand, 0}, 0, "perm counts on");
    }
    // A new text starts perm over; setting the same text again doesn't.
    for (float perm : {10.0f, 20.0f}) {
        graph.Set(node, "Expression", "perm = perm + 10; out1 = perm; out2 = permrand");
        graph.Frame(node, 0.1f);
        ExpectFloats(Outputs(node), {perm, permrand, 0}, 0, "after a new text");
    }
}

TEST(ExpressionNode, SeedsRandEveryEvaluation)
{
    CValueGraph graph;
    CNode* node = graph.Add("Expression");
    graph.Set(node, "Expression", "out1 = rand(); out2 = rand(); out3 = random()");
    graph.Set(node, "RandomSeed", "77");
    CRandom seeded(77);
    const float first = seeded.NextUnit();
    const float second = seeded.NextUnit();
    g_random.Seed(5);
    CRandom global(5);
    for (int frame = 0; frame < 3; ++frame) {
        graph.Frame(node, 0.1f);
        // rand() repeats every frame, random() goes on.
        ExpectFloats(Outputs(node), {first, second, global.NextUnit()}, 0, "frame " + std::to_string(frame));
    }
    graph.Set(node, "RandomSeed", "78");
    graph.Frame(node, 0.1f);
    EXPECT_EQ(Outputs(node)[0], CRandom(78).NextUnit());
}

TEST(ExpressionNode, RunsForEveryElementOfAReader)
{
    CValueGraph graph;
    CNode* node = graph.Add("Expression");
    graph.Set(node, "Expression", "perm = perm + 1; out1 = time * 2 + in1; out2 = perm");
    ASSERT_TRUE(node->Connect("In1", graph.Add("Sin"), "Value"));
    CLocalReaderNode* reader = graph.AddReader();
    ASSERT_TRUE(reader->Connect("Value", node, "Out1"));
    // The position reaches through to the Sin node, which gives 0, 0.5, 1,
    // 0.5, 0 at the quarters of its cycle.
    ExpectFloats(graph.LocalFrame(reader, 5, 0.1f), {0, 1, 2, 2, 2}, 1e-5f, "out1 per element");
    // The text was parsed once in that frame: perm counted every element.
    ASSERT_TRUE(reader->Connect("Value", node, "Out2"));
    ExpectFloats(graph.LocalFrame(reader, 3, 0.1f), {6, 7, 8}, 0, "perm per element");
}

TEST(ExpressionNode, AProgramThatCantRunGivesZerosAndOneLogLine)
{
    struct Case
    {
        const char* text;
        std::vector<std::string> log;
    };
    const Case cases[] = {
        {"", {}},
        {"out1 = 1/0", {"Divide by zero"}},
        {"out1 = 5; out2 = 1/0", {"Divide by zero"}},
        {"out1 = (2", {"Unmatched Parenthesis"}},
        {"out1 = nosuch(1)", {"Variable not found at 7 12"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        CValueGraph graph;
        CLogCapture log;
        CNode* node = graph.Add("Expression");
        graph.Set(node, "Expression", c.text);
        CLocalReaderNode* reader = graph.AddReader();
        ASSERT_TRUE(reader->Connect("Value", node, "Out1"));
        for (int frame = 0; frame < 3; ++frame) {
            ExpectFloats(graph.LocalFrame(reader, 4, 0.1f), {0, 0, 0, 0}, 0, c.text);
            ExpectFloats(Outputs(node), {0, 0, 0}, 0, c.text);
        }
        EXPECT_EQ(log.Messages(), c.log);

        // A working text brings the node back.
        graph.Set(node, "Expression", "out1 = 4; out2 = 5");
        graph.Frame(node, 0.1f);
        ExpectFloats(Outputs(node), {4, 5, 0}, 0, c.text);
    }
}
