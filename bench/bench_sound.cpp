#include "sound/soundanalyzer.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace {

constexpr double TwoPi = 2.0 * std::numbers::pi;

// About a second of a loop at 120 beats a minute: a kick on each beat, a bass
// line, a chord and some hiss, a little different left and right so that
// both channels do their own work.
std::vector<float> MusicLikeBlocks(int count)
{
    std::vector<float> samples(count * CSoundAnalyzer::BlockFloats);
    std::uint32_t noise = 12345;
    for (int i = 0; i < count * CSoundAnalyzer::BlockFrames; ++i) {
        const double t = i / 44100.0;
        const double sinceBeat = std::fmod(t, 0.5);
        const double kick = std::exp(-sinceBeat * 25.0) * std::sin(TwoPi * 60.0 * sinceBeat);
        const double bass = std::sin(TwoPi * (t < 0.5 ? 82.4 : 110.0) * t);
        const double chord = std::sin(TwoPi * 261.6 * t) + std::sin(TwoPi * 329.6 * t) + std::sin(TwoPi * 392.0 * t);
        noise = noise * 1664525u + 1013904223u;
        const double hiss = (noise >> 8) / double(1 << 24) - 0.5;
        samples[2 * i] = float(0.45 * kick + 0.25 * bass + 0.08 * chord + 0.05 * hiss);
        samples[2 * i + 1] = float(0.45 * kick + 0.2 * bass + 0.1 * chord - 0.05 * hiss);
    }
    return samples;
}

void BM_Sound_ProcessBlock(benchmark::State& state)
{
    constexpr int blockCount = 80;
    const std::vector<float> music = MusicLikeBlocks(blockCount);
    CSoundAnalyzer sound;
    int block = 0;
    for (auto _ : state) {
        sound.ProcessSamples(CSoundAnalyzer::BlockFrames, music.data() + block * CSoundAnalyzer::BlockFloats);
        benchmark::DoNotOptimize(sound.m_beat);
        block = (block + 1) % blockCount;
    }
}
BENCHMARK(BM_Sound_ProcessBlock);

} // namespace
