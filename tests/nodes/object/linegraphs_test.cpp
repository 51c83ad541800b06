// Bars and Oscilloscope read a connected sound node along their width: the
// line ends follow the analysis wherever it is read.

#include "expression/musicfixture.h"
#include "nodes/object/barsnode.h"
#include "nodes/object/oscilloscopenode.h"
#include "nodes/value/valuegraph.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

// The mean of the two channels' smoothed spectrum, as Spectrum's Mono gives it.
float Spectrum(float t)
{
    return 0.5f * (g_soundAnalyzer->GetSpectrum(0, 1, t, t) + g_soundAnalyzer->GetSpectrum(1, 1, t, t));
}

float Wave(float t)
{
    return 0.5f * (g_soundAnalyzer->GetWaveform(0, t) + g_soundAnalyzer->GetWaveform(1, t));
}

} // namespace

TEST(LineGraphs, BarsStandOnTheSpectrumAcrossTheWidth)
{
    CMusicFixture music;
    CValueGraph graph;
    auto* bars = static_cast<CBarsNode*>(graph.Add("Bars"));
    CNode* spectrum = graph.Add("Spectrum");
    ASSERT_TRUE(bars->Connect("BarHeight", spectrum, "Mono"));
    graph.Set(bars, "Color", "1 0.5 0 1");
    for (int n : {1, 2, 17}) {
        SCOPED_TRACE(n);
        graph.Set(bars, "NumBars", std::to_string(n));
        graph.Frame(bars, 1.0f / 30);
        const CRenderLines& lines = bars->GetLines();
        ASSERT_EQ(lines.GetCount(), n);
        for (int i = 0; i < n; ++i) {
            const float t = n > 1 ? float(i) / float(n - 1) : 0.0f;
            const CRenderLines::SLine& line = *lines.GetLine(i);
            EXPECT_FLOAT_EQ(line.start.x, t - 0.5f);
            EXPECT_FLOAT_EQ(line.end.x, t - 0.5f);
            EXPECT_FLOAT_EQ(line.start.y, 0.0f);
            EXPECT_NEAR(line.end.y, Spectrum(t), 1e-6f) << i;
            EXPECT_EQ(line.end.color, 0xFF007FFFu);
        }
    }
    // The line follows the music, not a stored copy of it.
    for (auto& channel : music.m_analyzer.m_smoothedSpectrum[0])
        std::fill(std::begin(channel), std::end(channel), 0.0f);
    graph.Frame(bars, 1.0f / 30);
    EXPECT_FLOAT_EQ(bars->GetLines().GetLine(16)->end.y, 0.0f);
}

TEST(LineGraphs, TheOscilloscopeJoinsTheWaveAndDrawsNothingForNoLines)
{
    CMusicFixture music;
    CValueGraph graph;
    auto* scope = static_cast<COscilloscopeNode*>(graph.Add("Oscilloscope"));
    CNode* waveform = graph.Add("Waveform");
    ASSERT_TRUE(scope->Connect("Wave", waveform, "Mono"));
    graph.Set(scope, "NumLines", "8");
    graph.Frame(scope, 1.0f / 30);
    const CRenderLines& lines = scope->GetLines();
    ASSERT_EQ(lines.GetCount(), 8);
    EXPECT_FLOAT_EQ(lines.GetLine(0)->start.x, -0.5f);
    EXPECT_NEAR(lines.GetLine(0)->start.y, Wave(0.0f), 1e-6f);
    for (int i = 0; i < 8; ++i) {
        SCOPED_TRACE(i);
        const float t = float(i + 1) / 8.0f;
        EXPECT_FLOAT_EQ(lines.GetLine(i)->end.x, t - 0.5f);
        EXPECT_NEAR(lines.GetLine(i)->end.y, Wave(t), 1e-6f);
        if (i > 0) {
            EXPECT_EQ(lines.GetLine(i)->start.x, lines.GetLine(i - 1)->end.x) << "joined";
            EXPECT_EQ(lines.GetLine(i)->start.y, lines.GetLine(i - 1)->end.y) << "joined";
        }
    }
    graph.Set(scope, "NumLines", "0");
    graph.Frame(scope, 1.0f / 30);
    EXPECT_EQ(scope->GetLines().GetCount(), 0);
}
