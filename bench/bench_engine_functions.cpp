// One evaluation per iteration of an expression that reads the sound
// analysis and noise, as scripts of clones and textures do per element.

#include "expression/expressioncontext.h"
#include "sound/soundanalyzer.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

namespace {

void BM_Expr_EngineFunctions(benchmark::State& state)
{
    // A real analysis of a few blocks of two tones, with the music on.
    CSoundAnalyzer analyzer;
    std::vector<float> block(CSoundAnalyzer::BlockFloats);
    for (int b = 0; b < 4; ++b) {
        for (int i = 0; i < CSoundAnalyzer::BlockFrames; ++i) {
            const float t = float(b * CSoundAnalyzer::BlockFrames + i) / 44100.0f;
            block[size_t(2 * i)] = 0.5f * std::sin(6.2831855f * 110.0f * t);
            block[size_t(2 * i + 1)] = 0.3f * std::sin(6.2831855f * 2500.0f * t);
        }
        analyzer.ProcessSamples(CSoundAnalyzer::BlockFrames, block.data());
    }
    analyzer.m_captureEnabled = true;
    analyzer.m_hasMusic = true;
    CSoundAnalyzer* saved = g_soundAnalyzer;
    g_soundAnalyzer = &analyzer;

    CExpressionContext context;
    double x = 0.0;
    context.AddVariable("x", &x, 0.0);
    context.Parse("band(0-1, 1, 0) * spectrum(0, x, 0, 0.1) + noise2(x * 4, band(0, 0, 1))"
                  " + noise3(x, x * 2, 0.5) + noise1(x * 8)");
    if (!context.IsValid()) {
        state.SkipWithError("the expression didn't parse");
        g_soundAnalyzer = saved;
        return;
    }

    int64_t i = 0;
    for (auto _ : state) {
        x = static_cast<double>(i++ & 1023) / 1023.0;
        benchmark::DoNotOptimize(context.Evaluate());
    }
    g_soundAnalyzer = saved;
}
BENCHMARK(BM_Expr_EngineFunctions);

} // namespace
