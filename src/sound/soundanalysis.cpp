// The analysis half of CSoundAnalyzer: from one block of samples to the
// spectrum, bands, beat and a waveform that holds still on screen.
#include "sound/soundanalyzer.h"

#include "sound/spectrumfft.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

constexpr int BlockFrames = CSoundAnalyzer::BlockFrames;
constexpr int WaveSamples = CSoundAnalyzer::WaveSamples;

// Only the first WaveSamples of a block are shown, which leaves this much
// room to slide the block against the previous one.
constexpr int SearchRange = BlockFrames - WaveSamples;
// floor(log2(SearchRange)): the coarsest level still has a few offsets to try.
constexpr int Levels = 6;

// Three bands of equal width on a logarithmic scale, from bin 9 (about
// 390 Hz at 44100 Hz) to the top: edge j is the truncation of
// 102400 / 11025 * 55.125^(j / 3). Written out because the last edge comes
// to exactly 512 and a pow a hair below it would truncate to 511.
constexpr int BandEdges[4] = {9, 35, 134, 512};
// Divisors that bring a typical loud level of each band near 1.
constexpr float BandScale[3] = {0.32678157f, 0.38087377f, 0.19988893f};

// Per level, a trapezoid over the compared samples: the middle of the window
// decides the match; the ends, which slide in and out of view as the offset
// changes, count for nothing.
struct AlignTables
{
    float weights[Levels][BlockFrames];
    int first[Levels];
    int last[Levels];
};

AlignTables MakeAlignTables()
{
    AlignTables tables{};
    for (int k = 0; k < Levels; ++k) {
        const int m = (BlockFrames >> k) - (SearchRange >> k);
        tables.first[k] = m;
        tables.last[k] = -1;
        for (int i = 0; i < m; ++i) {
            const int u = i < m / 2 ? 2 * i : 2 * m - 2 - 2 * i;
            const double w = std::clamp((double(u) / m - 0.8) * 5.0 + 0.8, 0.0, 1.0);
            tables.weights[k][i] = float(w);
            if (w > 0.0) {
                tables.first[k] = std::min(tables.first[k], i);
                tables.last[k] = i;
            }
        }
    }
    return tables;
}

// Shared by every analyser and never changed after the first block.
const AlignTables& SharedAlignTables()
{
    static const AlignTables tables = MakeAlignTables();
    return tables;
}

// A signal and its halvings, one after another; each level averages pairs of
// the level before.
struct Pyramid
{
    float samples[2 * BlockFrames];
    const float* level[Levels];
};

void BuildPyramid(const float* source, int length, Pyramid& pyramid)
{
    float* out = pyramid.samples;
    std::copy(source, source + length, out);
    pyramid.level[0] = out;
    for (int k = 1; k < Levels; ++k) {
        const float* previous = out;
        out += length;
        length /= 2;
        for (int i = 0; i < length; ++i)
            out[i] = (previous[2 * i] + previous[2 * i + 1]) * 0.5f;
        pyramid.level[k] = out;
    }
}

// Coarse to fine: the whole range at the coarsest level, then a few offsets
// around twice the winner at each finer one.
int FindShift(const Pyramid& fresh, const Pyramid& old, const AlignTables& tables)
{
    int start = 0;
    int end = SearchRange >> (Levels - 1);
    int best = 0;
    for (int k = Levels - 1; k >= 0; --k) {
        const float* now = fresh.level[k];
        const float* before = old.level[k];
        const float* weights = tables.weights[k];
        float bestError = std::numeric_limits<float>::infinity();
        best = start;
        for (int offset = start; offset < end; ++offset) {
            float error = 0.0f;
            for (int i = tables.first[k]; i <= tables.last[k]; ++i)
                error += std::fabs((now[offset + i] - before[i]) * weights[i]);
            if (error < bestError) {
                bestError = error;
                best = offset;
            }
        }
        if (k > 0) {
            start = std::max(2 * best - 1, 0);
            end = std::min(2 * best + 3, SearchRange >> (k - 1));
        }
    }
    return best;
}

// b is a running average's factor per frame at 14 frames a second; b^14 is
// its factor per second, spread over the engine's frames so that the values
// settle as fast at 60 frames a second as at 30.
float Smooth(float b, float fps)
{
    const float perSecond = std::pow(b, 14.0f);
    return std::pow(perSecond, 1.0f / fps);
}

// Position 0 to 1 over `count` samples, read between neighbours; with a
// second channel the two are averaged first. NaN reads the start.
float Interpolate(const float* a, const float* b, int count, float position)
{
    const float p = (position > 0.0f ? std::min(position, 1.0f) : 0.0f) * float(count - 1);
    const int i = int(p);
    const int j = std::min(i + 1, count - 1);
    const float at = b ? 0.5f * (a[i] + b[i]) : a[i];
    const float next = b ? 0.5f * (a[j] + b[j]) : a[j];
    return at + (next - at) * (p - float(i));
}

} // namespace

void CSoundAnalyzer::ProcessSamples(int frames, const float* data)
{
    ++m_blocks;
    m_lastFrames = frames;
    m_channels = 2;
    m_bins = SpectrumBins / 2;

    if (data) {
        for (int i = 0; i < BlockFrames; ++i) {
            m_wave[0][i] = data[2 * i];
            m_wave[1][i] = data[2 * i + 1];
        }
    }

    for (const auto& channel : m_wave) {
        float peak = 0.0f;
        for (float sample : channel)
            peak = std::max(peak, std::min(std::fabs(sample), 1.0f));
        m_waveMax = std::max(m_waveMax, peak);
    }
    m_waveMax = std::max(m_waveMax, 0.01f);

    const float scale = 1.0f / m_waveMax;
    for (auto& channel : m_wave) {
        for (float& sample : channel)
            sample *= scale;
    }

    AnalyseSpectrum();
    AlignWaves();
}

void CSoundAnalyzer::AnalyseSpectrum()
{
    for (int c = 0; c < 2; ++c)
        m_fft->Transform(m_wave[c], 1, m_rawSpectrum[c]);

    constexpr float spectrumSmoothing[3] = {0.2f, 0.5f, 0.85f};
    for (int k = 0; k < 3; ++k) {
        const float f = Smooth(spectrumSmoothing[k], m_fps);
        for (int c = 0; c < 2; ++c) {
            for (int i = 0; i < SpectrumBins; ++i)
                m_smoothedSpectrum[k][c][i] = m_rawSpectrum[c][i] * (1.0f - f) + m_smoothedSpectrum[k][c][i] * f;
        }
    }

    const float fastRise = Smooth(0.2f, m_fps);
    const float fastFall = Smooth(0.5f, m_fps);
    const float medium = Smooth(0.91f, m_fps);
    const float slow = Smooth(0.96f, m_fps);
    for (int c = 0; c < 2; ++c) {
        for (int b = 0; b < 3; ++b) {
            float sum = 0.0f;
            for (int i = BandEdges[b]; i < BandEdges[b + 1]; ++i)
                sum += m_rawSpectrum[c][i];
            const float imm = sum / float(BandEdges[b + 1] - BandEdges[b]) / BandScale[b];
            m_imm[c][b] = imm;

            // The fast average jumps up with a hit and sinks back slower.
            const float f = imm > m_fast[c][b] ? fastRise : fastFall;
            m_fast[c][b] = (1.0f - f) * imm + f * m_fast[c][b];
            m_medium[c][b] = (1.0f - medium) * imm + medium * m_medium[c][b];
            m_slow[c][b] = (1.0f - slow) * imm + slow * m_slow[c][b];
        }
    }

    m_beat = 0.25f * (m_imm[0][0] + m_imm[0][1] + m_imm[1][0] + m_imm[1][1]);
}

void CSoundAnalyzer::AlignWaves()
{
    const AlignTables& tables = SharedAlignTables();

    int shift[2];
    for (int c = 0; c < 2; ++c) {
        Pyramid fresh;
        Pyramid old;
        BuildPyramid(m_wave[c], BlockFrames, fresh);
        BuildPyramid(m_oldWave[c] + m_oldOffset[c], WaveSamples, old);
        shift[c] = FindShift(fresh, old, tables);
    }

    // The next block is matched against this one as it came, not as shown.
    std::memcpy(m_oldWave, m_wave, sizeof m_wave);
    for (int c = 0; c < 2; ++c) {
        m_oldOffset[c] = shift[c];
        if (shift[c] == 0)
            continue;
        float* wave = m_wave[c];
        std::copy(wave + shift[c], wave + shift[c] + WaveSamples, wave);
        std::fill(wave + WaveSamples, wave + BlockFrames, 0.0f);
    }
}

float CSoundAnalyzer::GetWaveform(int channel, float position) const
{
    if (m_bins == 0 || channel < -1 || channel > 1)
        return 0.0f;
    if (channel == -1)
        return Interpolate(m_wave[0], m_wave[1], WaveSamples, position);
    return Interpolate(m_wave[channel], nullptr, WaveSamples, position);
}

float CSoundAnalyzer::GetSpectrum(int channel, int level, float from, float to) const
{
    if (m_bins == 0 || channel < -1 || channel > 1)
        return 0.0f;
    const auto& spectrum = level >= 1 && level <= 3 ? m_smoothedSpectrum[level - 1] : m_rawSpectrum;
    const int last = m_bins - 1;
    from = from > 0.0f ? std::min(from, 1.0f) : 0.0f;

    float value;
    if (std::fabs(from - to) <= 1e-5f) {
        // A single point reads the left channel alone, even for both.
        value = Interpolate(spectrum[std::max(channel, 0)], nullptr, m_bins, from);
    } else {
        // A reversed range (or a NaN end) has no bins to take the mean of.
        if (!(to >= from))
            return 0.0f;
        const int i0 = int(std::floor(float(last) * from));
        const float top = std::floor(float(last) * to) + 1.0f;
        const int i1 = top < float(last) ? int(top) : last;
        float sum = 0.0f;
        for (int i = i0; i <= i1; ++i)
            sum += channel == -1 ? 0.5f * (spectrum[0][i] + spectrum[1][i]) : spectrum[channel][i];
        value = sum / float(i1 - i0 + 1);
    }
    return std::min(value, 1.0f);
}

float CSoundAnalyzer::GetBand(int channel, int kind, int index) const
{
    if (channel < -1 || channel > 1 || kind < 0 || kind > 3 || index < 0 || index > 2)
        return 0.0f;
    const float (*bands[4])[3] = {m_imm, m_fast, m_medium, m_slow};
    const float (*values)[3] = bands[kind];
    if (channel == -1)
        return 0.5f * (values[0][index] + values[1][index]);
    return values[channel][index];
}
