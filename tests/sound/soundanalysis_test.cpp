#include "sound/soundanalyzer.h"
#include "sound/spectrumfft.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <numbers>
#include <vector>

namespace {

constexpr int Frames = CSoundAnalyzer::BlockFrames;
constexpr double TwoPi = 2.0 * std::numbers::pi;
using Signal = std::function<double(int)>;

Signal Tone(double hz, double amplitude, int start = 0)
{
    return [=](int i) { return amplitude * std::sin(TwoPi * hz * (start + i) / 44100.0); };
}

// Repeatable white noise from -amplitude to amplitude.
Signal Noise(double amplitude)
{
    return [=](int i) {
        std::uint32_t x = std::uint32_t(i) * 2654435761u;
        x ^= x >> 13;
        x *= 0x5bd1e995u;
        x ^= x >> 15;
        return amplitude * (x / 2147483647.5 - 1.0);
    };
}

std::vector<float> Block(const Signal& left, const Signal& right)
{
    std::vector<float> block(2 * Frames);
    for (int i = 0; i < Frames; ++i) {
        block[2 * i] = float(left(i));
        block[2 * i + 1] = float(right(i));
    }
    return block;
}

double Window(int n) { return 0.5 - 0.5 * std::cos(TwoPi * n / Frames); }
double Equaliser(int k) { return -0.1 * std::log((512.0 - k) / 512.0); }

// Hann window over 576 samples, zero-padded to 1024, a direct DFT in double,
// and the equaliser that lifts the higher bins.
std::vector<double> DirectSpectrum(const float* samples, int stride, double scale = 1.0)
{
    std::vector<double> out(512);
    for (int k = 0; k < 512; ++k) {
        double re = 0.0, im = 0.0;
        for (int n = 0; n < Frames; ++n) {
            const double x = samples[n * stride] * scale * Window(n);
            re += x * std::cos(TwoPi * k * n / 1024.0);
            im -= x * std::sin(TwoPi * k * n / 1024.0);
        }
        out[k] = std::hypot(re, im) * Equaliser(k);
    }
    return out;
}

float ShownPeak(const CSoundAnalyzer& sound)
{
    float peak = 0.0f;
    for (int i = 0; i < CSoundAnalyzer::WaveSamples; ++i)
        peak = std::max(peak, std::fabs(sound.GetWaveform(0, i / 479.0f)));
    return peak;
}

TEST(SoundAnalysis, SpectrumMatchesADirectTransform)
{
    const struct { const char* name; Signal signal; int peakBin; } cases[] = {
        {"440 Hz", Tone(440.0, 0.8), 10},
        // The equaliser lifts the quieter high tone above the louder low one.
        {"two tones", [](int i) { return 0.3 + Tone(3000.0, 0.5)(i) + Tone(9000.0, 0.2)(i); }, 209},
        {"click", [](int i) { return i == 300 ? 1.0 : 0.0; }, -1},
    };
    CSpectrumFft fft;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        // Right carries other data: the stride must keep it out.
        const std::vector<float> block = Block(c.signal, Tone(5000.0, 1.0));
        float bins[512];
        fft.Transform(block.data(), 2, bins);
        const std::vector<double> expected = DirectSpectrum(block.data(), 2);
        // Single precision rounding grows with the block's whole level, not
        // with the bin's own value.
        double level = 0.0;
        for (int n = 0; n < Frames; ++n)
            level += std::fabs(block[2 * n] * Window(n));
        for (int k = 0; k < 512; ++k)
            ASSERT_NEAR(bins[k], expected[k], 1e-5 * level * Equaliser(k) + 1e-9) << "bin " << k;
        if (c.peakBin >= 0) {
            EXPECT_EQ(std::max_element(bins, bins + 512) - bins, c.peakBin);
        }
    }
}

TEST(SoundAnalysis, BandsAndAveragesFollowTheSmoothingLaw)
{
    const int edges[4] = {9, 35, 134, 512};
    const double scales[3] = {0.32678157, 0.38087377, 0.19988893};
    // The same block over and over: imm stays put and each average closes
    // in on it geometrically, by b^(14/F) a block.
    const struct { float fps; double fastFall; } rates[] = {{30.0f, 0.72}, {60.0f, 0.85}};
    // Tones keep the left bands low, noise lifts the right treble above 1, so
    // both directions of the fast average are taken.
    const std::vector<float> block = Block([](int i) { return Tone(500.0, 0.4)(i) + Tone(2500.0, 0.2)(i); },
                                           Noise(0.5));
    float peak = 0.0f;
    for (float x : block)
        peak = std::max(peak, std::fabs(x));
    for (const auto& rate : rates) {
        SCOPED_TRACE(rate.fps);
        CSoundAnalyzer sound;
        sound.m_fps = rate.fps;
        const auto smooth = [&](double b) { return std::pow(b, 14.0 / rate.fps); };
        double imm[2][3];
        for (int c = 0; c < 2; ++c) {
            const std::vector<double> raw = DirectSpectrum(block.data() + c, 2, 1.0 / peak);
            for (int b = 0; b < 3; ++b) {
                double sum = 0.0;
                for (int k = edges[b]; k < edges[b + 1]; ++k)
                    sum += raw[k];
                imm[c][b] = sum / (edges[b + 1] - edges[b]) / scales[b];
            }
        }
        for (int n = 1; n <= 4; ++n) {
            sound.ProcessSamples(Frames, block.data());
            if (n == 1) { // a falling fast average keeps about 0.72 of itself at 30 fps, 0.85 at 60
                EXPECT_NEAR((sound.GetBand(0, 1, 0) - imm[0][0]) / (1.0 - imm[0][0]), rate.fastFall, 0.005);
            }
            for (int c = 0; c < 2; ++c) {
                for (int b = 0; b < 3; ++b) {
                    const double i = imm[c][b];
                    const double fast = smooth(i > 1.0 ? 0.2 : 0.5);
                    const double expected[4] = {i, i + (1.0 - i) * std::pow(fast, n),
                                                i + (1.0 - i) * std::pow(smooth(0.91), n),
                                                i + (1.0 - i) * std::pow(smooth(0.96), n)};
                    for (int kind = 0; kind < 4; ++kind)
                        EXPECT_NEAR(sound.GetBand(c, kind, b), expected[kind], 1e-4 * (1.0 + i))
                            << "block " << n << " channel " << c << " kind " << kind << " band " << b;
                }
            }
            EXPECT_NEAR(sound.GetBeat(), 0.25 * (imm[0][0] + imm[0][1] + imm[1][0] + imm[1][1]), 1e-4);
            const double medium = smooth(0.5);
            EXPECT_NEAR(sound.m_smoothedSpectrum[1][1][16],
                        sound.m_rawSpectrum[1][16] * (1.0 - std::pow(medium, n)), 1e-5);
        }
        EXPECT_FLOAT_EQ(sound.GetBand(-1, 3, 2), 0.5f * (sound.GetBand(0, 3, 2) + sound.GetBand(1, 3, 2)));
        const int outside[][3] = {{2, 0, 0}, {-2, 0, 0}, {0, 4, 0}, {0, -1, 0}, {0, 0, 3}, {0, 0, -1}};
        for (const auto& a : outside)
            EXPECT_EQ(sound.GetBand(a[0], a[1], a[2]), 0.0f);
    }
}

TEST(SoundAnalysis, LevelsHoldThePeakAndSilenceFallsToZero)
{
    CSoundAnalyzer sound;
    const struct { double amplitude; float shownPeak; float waveMax; } blocks[] = {
        {0.0, 0.0f, 0.01f}, // silence at the start stays silent
        {0.5, 1.0f, 0.5f},  // the first level heard fills the height
        {1.0, 1.0f, 1.0f},
        {0.5, 0.5f, 1.0f},  // the peak doesn't fall
        {0.0, 0.0f, 1.0f},
    };
    float smoothedBefore = 0.0f;
    for (const auto& step : blocks) {
        SCOPED_TRACE(step.amplitude);
        const Signal tone = Tone(1000.0, step.amplitude);
        sound.ProcessSamples(Frames, Block(tone, tone).data());
        EXPECT_NEAR(ShownPeak(sound), step.shownPeak, 0.01f);
        EXPECT_NEAR(sound.m_waveMax, step.waveMax, 2e-3f);
        const float smoothed = sound.m_smoothedSpectrum[2][0][23]; // 1 kHz
        if (step.amplitude == 0.0) {
            EXPECT_EQ(sound.GetBeat(), 0.0f);
            EXPECT_EQ(sound.GetBand(1, 0, 1), 0.0f);
            EXPECT_NEAR(smoothed, smoothedBefore * std::pow(0.85, 14.0 / 30.0), 1e-5);
        }
        smoothedBefore = smoothed;
    }
    EXPECT_GT(smoothedBefore, 0.0f);
}

TEST(SoundAnalysis, AToneHoldsStillOnScreen)
{
    // 300 Hz moves its phase 12 samples a block when it plays on, so the
    // shift has to follow it; a block repeated keeps its shift.
    for (bool playsOn : {false, true}) {
        SCOPED_TRACE(playsOn ? "tone plays on" : "same block again");
        CSoundAnalyzer sound;
        std::vector<float> before;
        int shiftBefore = -1;
        for (int n = 0; n < 5; ++n) {
            const Signal tone = Tone(300.0, 1.0, playsOn ? n * Frames : 0);
            const std::vector<float> block = Block(tone, tone);
            sound.ProcessSamples(Frames, block.data());
            const int shift = sound.m_oldOffset[0];
            // The shown wave starts at the shift into the block.
            EXPECT_NEAR(sound.GetWaveform(0, 0.0f), block[2 * shift] / sound.m_waveMax, 1e-6);
            std::vector<float> picture;
            for (int i = 0; i < CSoundAnalyzer::WaveSamples; ++i)
                picture.push_back(sound.GetWaveform(-1, i / 479.0f));
            for (size_t i = 0; i < before.size(); ++i)
                ASSERT_NEAR(picture[i], before[i], 1e-3) << "block " << n << " sample " << i;
            if (n > 0 && !playsOn) {
                EXPECT_EQ(shift, shiftBefore);
            }
            before = picture;
            shiftBefore = shift;
        }
        // No new data: the shown wave goes through again and stays put.
        sound.ProcessSamples(Frames, nullptr);
        for (int i = 0; i < CSoundAnalyzer::WaveSamples; ++i)
            ASSERT_NEAR(sound.GetWaveform(-1, i / 479.0f), before[i], 1e-6) << "sample " << i;
    }
}

TEST(SoundAnalysis, QueriesReadTheirRanges)
{
    CSoundAnalyzer sound;
    for (int channel : {-1, 0, 1}) {
        EXPECT_EQ(sound.GetWaveform(channel, 0.5f), 0.0f);
        EXPECT_EQ(sound.GetSpectrum(channel, 0, 0.1f, 0.1f), 0.0f);
        EXPECT_EQ(sound.GetSpectrum(channel, 1, 0.0f, 1.0f), 0.0f);
    }

    // Only the tail of the block is non-zero, outside what the alignment
    // compares, so the block is shown unshifted.
    sound.ProcessSamples(Frames, Block([](int i) { return i < 479 ? 0.0 : i == 479 ? 0.5 : 1.0; },
                                       [](int i) { return i == 479 ? -0.25 : 0.0; }).data());
    const struct { int channel; float position; float expected; } wave[] = {
        {0, 1.0f, 0.5f}, {0, 7.0f, 0.5f}, {1, 1.0f, -0.25f}, {-1, 1.0f, 0.125f},
        {0, 478.5f / 479.0f, 0.25f}, {0, -3.0f, 0.0f}, {2, 1.0f, 0.0f}, {-2, 1.0f, 0.0f},
    };
    for (const auto& w : wave)
        EXPECT_NEAR(sound.GetWaveform(w.channel, w.position), w.expected, 1e-6) << w.channel << " at " << w.position;

    // Left peaks at bin 80 (above 1 there), right at bin 40.
    sound.ProcessSamples(Frames, Block(Tone(3446.0, 0.9), Tone(1723.0, 0.9)).data());
    const auto& raw = sound.m_rawSpectrum;
    const auto& smoothed = sound.m_smoothedSpectrum[0];
    const auto point = [](const auto& s, float from) {
        const float p = 255.0f * from;
        const int i = int(p);
        return s[0][i] + (s[0][i + 1] - s[0][i]) * (p - float(i));
    };
    const auto mean = [](const auto& s, int c, int i0, int i1) {
        float sum = 0.0f;
        for (int i = i0; i <= i1; ++i)
            sum += c < 0 ? 0.5f * (s[0][i] + s[1][i]) : s[c][i];
        return std::min(sum / float(i1 - i0 + 1), 1.0f);
    };
    ASSERT_GT(std::min(raw[0][80], raw[0][81]), 1.0f);
    const float atRightPeak = 40.25f / 255.0f;
    const struct { int channel; int level; float from; float to; float expected; } spectrum[] = {
        {0, 0, 80.5f / 255.0f, 80.5f / 255.0f, 1.0f},
        {0, 0, 0.125f, 0.125f, point(raw, 0.125f)},
        {-1, 1, atRightPeak, atRightPeak, point(smoothed, atRightPeak)},
        {-1, 1, 0.125f, 0.125f + 0.1f, mean(smoothed, -1, 31, 58)},
        {1, 9, 0.5f, 0.7f, mean(raw, 1, 127, 179)},
        {0, 0, 2.0f, 2.0f, mean(raw, 0, 255, 255)},
        {0, 0, 0.9f, 5.0f, mean(raw, 0, 229, 255)},
        {0, 0, 0.5f, 0.492f, 0.0f}, // bins 127 to 126: nothing to average
        {2, 0, 0.5f, 0.5f, 0.0f},
    };
    ASSERT_GT(std::fabs(smoothed[1][40] - smoothed[0][40]), 0.1f);
    for (const auto& s : spectrum)
        EXPECT_NEAR(sound.GetSpectrum(s.channel, s.level, s.from, s.to), s.expected, 1e-6)
            << s.channel << " level " << s.level << " from " << s.from << " to " << s.to;
}

} // namespace
