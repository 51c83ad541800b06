// Beat, Spectrum and Waveform in small graphs, with the analysis filled with
// known numbers: what they give with music, what stands in without it, and
// how they answer a reader that evaluates them along its elements.

#include "expression/musicfixture.h"
#include "valuegraph.h"

#include <gtest/gtest.h>

#include <cstdio>

using M = CMusicFixture;

TEST(BeatNode, MapsTheBeatFromMinToMaxCappedAtTheLargerEnd)
{
    struct Case
    {
        bool music;
        const char* beatAmplificationMinMax;
        float beat, expected;
    };
    const Case cases[] = {
        {true, "1 0 1", 0.5f, 0.5f},   {true, "2 0 1", 0.25f, 0.5f}, {true, "1 0 1", 2.0f, 1.0f},
        {true, "1 2 4", 0.5f, 3.0f},   {true, "0 2 4", 0.75f, 2.0f}, // no amplification: Min
        {true, "1 1 0", 0.25f, 0.75f}, {true, "1 1 0", 0.0f, 1.0f},  // Min above Max falls as the beat rises
        {true, "1 5 1", 2.0f, -3.0f},                                 // and has no lower limit
        {false, "5 2 4", 0.5f, 0.3f},                                 // NoMusic, whatever the others say
    };
    CMusicFixture music;
    CValueGraph graph;
    CNode* beat = graph.Add("Beat");
    graph.Set(beat, "NoMusic", "0.3");
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.beatAmplificationMinMax << " at beat " << c.beat);
        music.SetMusic(c.music);
        music.m_analyzer.m_beat = c.beat;
        float amplification, min, max;
        ASSERT_EQ(sscanf(c.beatAmplificationMinMax, "%f %f %f", &amplification, &min, &max), 3);
        graph.Set(beat, "Amplification", std::to_string(amplification));
        graph.Set(beat, "Min", std::to_string(min));
        graph.Set(beat, "Max", std::to_string(max));
        graph.Frame(beat, 1.0f / 30);
        EXPECT_FLOAT_EQ(CValueGraph::Out(beat, "BeatStrength"), c.expected);
    }

    // One value a frame: a change within the frame reaches no reader.
    CLocalReaderNode* reader = graph.AddReader();
    ASSERT_TRUE(reader->Connect("Value", beat, "BeatStrength"));
    graph.Set(beat, "Amplification", "1");
    graph.Set(beat, "Min", "0");
    graph.Set(beat, "Max", "1");
    music.SetMusic(true);
    music.m_analyzer.m_beat = 0.1f;
    graph.Begin(0.1f);
    reader->Pull(&graph.m_context, 0);
    EXPECT_FLOAT_EQ(reader->Floats(1)[0], 0.1f);
    music.m_analyzer.m_beat = 0.9f;
    ExpectFloats(reader->Floats(3), {0.1f, 0.1f, 0.1f}, 0, "the same frame");
    graph.End();
    ExpectFloats(graph.LocalFrame(reader, 2, 0.1f), {0.9f, 0.9f}, 0, "the next frame");
}

TEST(SpectrumNode, DrawsTheSpectrumAlongTheElementsOfAReader)
{
    CMusicFixture music;
    CValueGraph graph;
    CNode* spectrum = graph.Add("Spectrum");
    CLocalReaderNode* reader = graph.AddReader();
    graph.Set(spectrum, "Amplification", "2");
    graph.Set(spectrum, "NoMusicLeft", "0.1");
    graph.Set(spectrum, "NoMusicRight", "0.2");
    graph.Set(spectrum, "NoMusicMono", "0.7");

    const char* outputs[] = {"LeftChannel", "RightChannel", "Mono"};
    for (int channel = 0; channel < 3; ++channel) {
        ASSERT_TRUE(reader->Connect("Value", spectrum, outputs[channel]));
        std::vector<float> expected;
        for (float position : {0.0f, 0.25f, 0.5f, 0.75f, 1.0f}) {
            const float left = 2 * M::Spectrum1(0, position);
            const float right = 2 * M::Spectrum1(1, position);
            expected.push_back(channel == 0 ? left : channel == 1 ? right : (left + right) / 2);
        }
        ExpectFloats(graph.LocalFrame(reader, 5, 0.1f), expected, 1e-6f, outputs[channel]);
    }

    // Pulled with the scene time, a position beyond 1 reads the end.
    graph.m_context.m_time = 2.4f;
    graph.Frame(spectrum, 0.1f);
    EXPECT_NEAR(CValueGraph::Out(spectrum, "LeftChannel"), 2 * M::Spectrum1(0, 1), 1e-6f);

    // In silence the NoMusic ports come through, unamplified, at every element.
    music.SetMusic(false);
    const float silent[] = {0.1f, 0.2f, 0.7f};
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(reader->Connect("Value", spectrum, outputs[i]));
        ExpectFloats(graph.LocalFrame(reader, 3, 0.1f), {silent[i], silent[i], silent[i]}, 0, outputs[i]);
    }
}

TEST(WaveformNode, DrawsTheWaveAndGivesTheChannelsMeanLevels)
{
    CMusicFixture music;
    CValueGraph graph;
    CNode* wave = graph.Add("Waveform");
    CLocalReaderNode* reader = graph.AddReader();
    graph.Set(wave, "Amplification", "3");
    graph.Set(wave, "NoMusicLeft", "0.1");
    graph.Set(wave, "NoMusicRight", "0.2");
    graph.Set(wave, "NoMusicMono", "0.7");

    ASSERT_TRUE(reader->Connect("Value", wave, "LeftChannel"));
    ExpectFloats(graph.LocalFrame(reader, 3, 0.1f), {0, 3 * M::Wave(0, 0.5f), 3 * M::Wave(0, 1)}, 1e-6f, "left");
    ASSERT_TRUE(reader->Connect("Value", wave, "Mono"));
    ExpectFloats(graph.LocalFrame(reader, 2, 0.1f), {0, 1.5f * (M::Wave(0, 1) + M::Wave(1, 1))}, 1e-6f, "mono");
    EXPECT_NEAR(CValueGraph::Out(wave, "RightChannel"), 3 * M::Wave(1, 1), 1e-6f) << "the last element's";
    EXPECT_NEAR(CValueGraph::Out(wave, "AvgLeftChannel"), 3 * M::WaveMeanLeft, 1e-5f);
    EXPECT_NEAR(CValueGraph::Out(wave, "AvgRightChannel"), 3 * M::WaveMeanRight, 1e-5f);

    // A new block brings new means; before the first block there are none.
    for (float& sample : music.m_analyzer.m_wave[0])
        sample = -0.25f;
    ++music.m_analyzer.m_blocks;
    graph.Frame(wave, 0.1f);
    EXPECT_NEAR(CValueGraph::Out(wave, "AvgLeftChannel"), 3 * 0.25f, 1e-5f);
    music.m_analyzer.m_blocks = 0;
    graph.Frame(wave, 0.1f);
    EXPECT_EQ(CValueGraph::Out(wave, "AvgLeftChannel"), 0.0f);

    // In silence the NoMusic ports stand in, the means included.
    music.SetMusic(false);
    graph.Frame(wave, 0.1f);
    const struct
    {
        const char* port;
        float expected;
    } silent[] = {{"LeftChannel", 0.1f}, {"AvgLeftChannel", 0.1f}, {"RightChannel", 0.2f},
                  {"AvgRightChannel", 0.2f}, {"Mono", 0.7f}};
    for (const auto& s : silent)
        EXPECT_FLOAT_EQ(CValueGraph::Out(wave, s.port), s.expected) << s.port;
}
