// The value nodes in small graphs: waves over time and along a reader's
// elements, the rotation counter, the moving MinMax value, and the joiners
// and colour conversions.

#include "app/random.h"
#include "expression/simplexnoise.h"
#include "ports/types/portvector.h"
#include "valuegraph.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

TEST(SignalGeneratorNode, MakesEachWaveAtKnownPoints)
{
    struct Case
    {
        int type;
        float time, expected;
        const char* frequency = "1";
        const char* phase = "0";
        const char* amplitude = "1";
        const char* offset = "0";
        const char* invert = "false";
    };
    const Case cases[] = {
        {0, 0.25f, 1}, {0, 0.125f, std::sin(0.7853982f)},
        {1, 0, -1}, {1, 0.25f, 1}, {1, 0.75f, -1}, // where sin is exactly 0 the square is low
        {2, 0.25f, 1}, {2, 0.75f, -1}, {2, 0.5f, 0}, {2, 0.375f, 0.5f},
        {3, 0.5f, -1}, {3, 0.49f, 0.98f}, {3, 1, 0},
        {4, 3, 0}, {4, 2.2f, SimplexNoise1(2.2f)}, {5, 0.25f, 0},
        // Frequency and phase act on the time axis, then amplitude, invert and offset.
        {0, 0.125f, 1, "2"}, {3, 0.1f, -0.8f, "1", "0.5"}, {0, 0.25f, -1, "1", "0", "2", "1", "true"},
    };
    CValueGraph graph;
    CNode* node = graph.Add("SignalGenerator");
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "type " << c.type << " at " << c.time);
        graph.Set(node, "WaveformType", std::to_string(c.type));
        graph.Set(node, "Frequency", c.frequency);
        graph.Set(node, "Phase", c.phase);
        graph.Set(node, "Amplitude", c.amplitude);
        graph.Set(node, "Offset", c.offset);
        graph.Set(node, "Invert", c.invert);
        graph.m_context.m_time = c.time;
        graph.Frame(node, 0);
        EXPECT_NEAR(CValueGraph::Out(node, "Value"), c.expected, 2e-6f);
    }
}

TEST(SignalGeneratorNode, FollowsSceneTimeAndTheReadersPositions)
{
    CValueGraph graph;
    CNode* saw = graph.Add("SignalGenerator");
    graph.Set(saw, "WaveformType", "Sawtooth");
    graph.Set(saw, "Frequency", "0.5");
    std::vector<float> overTime;
    for (int frame = 0; frame < 4; ++frame) {
        graph.Frame(saw, 0.5f);
        overTime.push_back(CValueGraph::Out(saw, "Value"));
    }
    ExpectFloats(overTime, {0.5f, -1, -0.5f, 0}, 1e-6f, "scene time 0.5 to 2");

    // Evaluated anew for every element, with the element's position as time.
    CLocalReaderNode* reader = graph.AddReader();
    ASSERT_TRUE(reader->Connect("Value", saw, "Value"));
    ExpectFloats(graph.LocalFrame(reader, 5, 0.5f), {0, 0.25f, 0.5f, 0.75f, -1}, 1e-6f, "per element");
}

TEST(SinNode, StartsAtMinAndPeaksHalfAPeriodLater)
{
    struct Case
    {
        float time, expected;
        const char* offset = "0";
        const char* frequency = "1";
    };
    const Case cases[] = {
        {0, 2}, {0.5f, 4}, {0.25f, 3}, {1.25f, 3}, {3.5f, 4}, {-0.25f, 3}, {-0.5f, 4},
        {0, 4, "0.5"}, {0.25f, 4, "0", "2"}, {0.5f, 2, "0", "2"}, {0.1f, 3, "0", "2.5"},
    };
    CValueGraph graph;
    CNode* node = graph.Add("Sin");
    graph.Set(node, "Min", "2");
    graph.Set(node, "Max", "4");
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "at " << c.time << " offset " << c.offset << " frequency " << c.frequency);
        graph.Set(node, "Offset", c.offset);
        graph.Set(node, "Frequency", c.frequency);
        graph.m_context.m_time = c.time;
        graph.Frame(node, 0);
        EXPECT_NEAR(CValueGraph::Out(node, "Value"), c.expected, 1e-5f);
    }
}

TEST(RotatorNode, TurnsByItsSpeedInRotationsAMinuteOncePerPull)
{
    CValueGraph graph;
    CNode* rotator = graph.Add("Rotator");
    graph.Set(rotator, "RotSpeedX", "60");
    graph.Set(rotator, "StartRotX", "10");
    graph.Set(rotator, "RotSpeedZ", "-15");
    const float expectedX[] = {100, 190, 280, 10, 100};
    for (int frame = 0; frame < 5; ++frame) {
        graph.Frame(rotator, 0.25f);
        EXPECT_NEAR(CValueGraph::Out(rotator, "RotX"), expectedX[frame], 1e-4f) << frame;
        // The default 0.5 rotations a minute is 3 degrees a second.
        EXPECT_NEAR(CValueGraph::Out(rotator, "RotY"), 0.75f * float(frame + 1), 1e-4f) << frame;
        EXPECT_NEAR(CValueGraph::Out(rotator, "RotZ"), -22.5f * float(frame + 1), 1e-4f) << frame;
    }

    // A reader's elements each add a frame's turn.
    CNode* fresh = graph.Add("Rotator");
    graph.Set(fresh, "RotSpeedX", "60");
    CLocalReaderNode* reader = graph.AddReader();
    ASSERT_TRUE(reader->Connect("Value", fresh, "RotX"));
    ExpectFloats(graph.LocalFrame(reader, 4, 0.25f), {90, 180, 270, 0}, 1e-4f, "per element");
}

TEST(JoinerNodes, ReadTheirInputsFromTheLastToTheFirst)
{
    // A rotator advances 90 degrees on every pull, so the values show the
    // order of the pulls.
    CValueGraph graph;
    CNode* vector = graph.Add("Vector");
    CNode* color = graph.Add("RGBAToColor");
    CNode* counters[] = {graph.Add("Rotator"), graph.Add("Rotator")};
    for (CNode* counter : counters)
        graph.Set(counter, "RotSpeedX", "60");
    for (const char* port : {"x", "y", "z"})
        ASSERT_TRUE(vector->Connect(port, counters[0], "RotX"));
    for (const char* port : {"Red", "Green", "Blue", "Alpha"})
        ASSERT_TRUE(color->Connect(port, counters[1], "RotX"));
    graph.Frame(vector, 0.25f);
    graph.Frame(color, 0.25f);
    EXPECT_EQ(vector->GetOutPort<CPortVector>("Vector")->m_value, (CPortVector::Xyz{270, 180, 90}));
    // Values from a connection aren't limited to a colour's range.
    EXPECT_EQ(CValueGraph::Color(color), (CPortColor::Rgba{0, 270, 180, 90}));
}

TEST(ColourNodes, ConvertKnownColours)
{
    struct Case
    {
        const char* type;
        const char* hue;
        const char* saturation;
        const char* third; // value or lightness; empty for the defaults
        CPortColor::Rgba expected;
    };
    const Case cases[] = {
        {"HSVAToColor", "0", "1", "1", {1, 0, 0, 1}},       {"HSVAToColor", "120", "1", "1", {0, 1, 0, 1}},
        {"HSVAToColor", "240", "1", "1", {0, 0, 1, 1}},     {"HSVAToColor", "60", "1", "1", {1, 1, 0, 1}},
        {"HSVAToColor", "180", "1", "0.5", {0, 0.5f, 0.5f, 1}}, {"HSVAToColor", "330", "1", "1", {1, 0, 0.5f, 1}},
        {"HSVAToColor", "300", "0.5", "1", {1, 0.5f, 1, 1}},  {"HSVAToColor", "360", "1", "1", {1, 0, 0, 1}},
        {"HSVAToColor", "200", "0", "0.4", {0.4f, 0.4f, 0.4f, 1}}, {"HSVAToColor", "200", "1", "0", {0, 0, 0, 1}},
        {"HSLAToColor", "0", "1", "0.5", {1, 0, 0, 1}},     {"HSLAToColor", "120", "1", "0.5", {0, 1, 0, 1}},
        {"HSLAToColor", "240", "1", "0.5", {0, 0, 1, 1}},   {"HSLAToColor", "60", "1", "0.25", {0.5f, 0.5f, 0, 1}},
        {"HSLAToColor", "300", "0.5", "0.75", {0.875f, 0.625f, 0.875f, 1}},
        {"HSLAToColor", "360", "1", "0.5", {1, 0, 0, 1}},   {"HSLAToColor", "90", "0", "0.3", {0.3f, 0.3f, 0.3f, 1}},
        {"HSLAToColor", "90", "1", "1", {1, 1, 1, 1}},
        // The defaults: white and red.
        {"HSVAToColor", "", "", "", {1, 1, 1, 1}},        {"HSLAToColor", "", "", "", {1, 0, 0, 1}},
    };
    CValueGraph graph;
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.type << " " << c.hue);
        CNode* node = graph.Add(c.type);
        if (*c.third) {
            graph.Set(node, "Hue", c.hue);
            graph.Set(node, "Saturation", c.saturation);
            graph.Set(node, std::string(c.type) == "HSVAToColor" ? "Value" : "Lightness", c.third);
            graph.Set(node, "Alpha", "0.5");
        }
        graph.Frame(node, 0.1f);
        CPortColor::Rgba expected = c.expected;
        expected[3] = *c.third ? 0.5f : 1.0f; // alpha passes through
        for (size_t i = 0; i < 4; ++i)
            EXPECT_NEAR(CValueGraph::Color(node)[i], expected[i], 1e-5f) << c.type << " " << c.hue << " [" << i << "]";
    }
}

TEST(MinMaxNode, MovesFromTargetToTargetOnceAFrame)
{
    // No delay and an interpolation time of one second: the first target
    // shows at once, then each ramp starts over from the other end.
    struct Case
    {
        const char* min;
        const char* max;
        const char* mode;
        std::vector<float> expected;
    };
    const Case cases[] = {
        {"0", "10", "3", {10, 2.5f, 5, 7.5f, 10, 2.5f, 5, 7.5f, 10}},
        {"0", "10", "4", {0, 7.5f, 5, 2.5f, 0, 7.5f, 5, 2.5f, 0}},
        {"2", "5", "0", {2, 2, 2, 2, 2}}, // holds its start, 0, limited to the range
        {"3", "3", "1", {3, 3, 3, 3, 3}}, // a range of nothing
        {"3", "3", "2", {3, 3, 3, 3, 3}},
        {"3", "3", "4", {3, 3, 3, 3, 3}},
    };
    for (const Case& c : cases) {
        CValueGraph graph;
        CNode* node = graph.Add("MinMax");
        graph.Set(node, "Min", c.min);
        graph.Set(node, "Max", c.max);
        graph.Set(node, "Mode", c.mode);
        graph.Set(node, "ITimeMin", "1");
        graph.Set(node, "ITimeMax", "1");
        // Read along four elements: the node runs once a frame all the same.
        CLocalReaderNode* reader = graph.AddReader();
        ASSERT_TRUE(reader->Connect("Value", node, "Value"));
        for (size_t frame = 0; frame < c.expected.size(); ++frame) {
            const float e = c.expected[frame];
            ExpectFloats(graph.LocalFrame(reader, 4, 0.25f), {e, e, e, e}, 1e-4f,
                         std::string("mode ") + c.mode + " frame " + std::to_string(frame));
        }
    }
}

TEST(MinMaxNode, WaitsThenGlidesToARandomTarget)
{
    g_random.Seed(42);
    CRandom reference(42);
    CValueGraph graph;
    CNode* node = graph.Add("MinMax");
    graph.Set(node, "Min", "2");
    graph.Set(node, "Max", "4");
    graph.Set(node, "DelayMin", "0.5");
    graph.Set(node, "DelayMax", "0.5");
    graph.Set(node, "ITimeMin", "1");
    graph.Set(node, "ITimeMax", "1");
    const float first = reference.NextUnit() * 2 + 2;
    const float second = reference.NextUnit() * 2 + 2;
    auto glide = [&](float u) {
        const float s = 3 * u * u - 2 * u * u * u;
        return first * (1 - s) + second * s;
    };
    // The target at once; a wait of 0.5 s; a glide of 1 s; a wait at the target.
    const std::vector<float> expected = {first, first, first, first, glide(0.25f), glide(0.5f), glide(0.75f),
                                         second, second};
    std::vector<float> values;
    for (size_t frame = 0; frame < expected.size(); ++frame) {
        graph.Frame(node, 0.25f);
        values.push_back(CValueGraph::Out(node, "Value"));
    }
    ExpectFloats(values, expected, 1e-5f, "random targets");
}
