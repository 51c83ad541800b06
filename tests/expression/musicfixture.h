#pragma once

#include "sound/soundanalyzer.h"

// The engine's sound object for one test, its analysis filled with known
// numbers instead of a sound, and music switched on or off by hand.
class CMusicFixture
{
public:
    // Band value of kind 0 to 3 (immediate, fast, medium, slow): the kind,
    // then a tenth for each place of channel and band.
    static float Band(int channel, int kind, int index) { return float(kind) + 0.1f * float(channel * 3 + index + 1); }
    // Smoothed spectrum of level 1: left rises to 0.8, right to 0.4. The raw
    // spectrum is flat, 0.5 left and 0.25 right.
    static float Spectrum1(int channel, float position) { return (channel == 0 ? 0.8f : 0.4f) * position; }
    // Waveform: left rises from 0 to 1, right falls from 0 to -0.5; their
    // mean levels are half their ends.
    static float Wave(int channel, float position) { return (channel == 0 ? 1.0f : -0.5f) * position; }
    static constexpr float WaveMeanLeft = 0.5f;
    static constexpr float WaveMeanRight = 0.25f;

    CMusicFixture() : m_saved(g_soundAnalyzer)
    {
        g_soundAnalyzer = &m_analyzer;
        CSoundAnalyzer& a = m_analyzer;
        a.m_captureEnabled = a.m_hasMusic = true;
        a.m_blocks = 1;
        a.m_channels = 2;
        a.m_bins = 256;
        a.m_beat = 0.75f;
        for (int c = 0; c < 2; ++c) {
            for (int b = 0; b < 3; ++b) {
                a.m_imm[c][b] = Band(c, 0, b);
                a.m_fast[c][b] = Band(c, 1, b);
                a.m_medium[c][b] = Band(c, 2, b);
                a.m_slow[c][b] = Band(c, 3, b);
            }
            for (int i = 0; i < CSoundAnalyzer::SpectrumBins; ++i) {
                a.m_rawSpectrum[c][i] = c == 0 ? 0.5f : 0.25f;
                a.m_smoothedSpectrum[0][c][i] = Spectrum1(c, float(i) / 255.0f);
            }
            for (int i = 0; i < CSoundAnalyzer::WaveSamples; ++i)
                a.m_wave[c][i] = Wave(c, float(i) / 479.0f);
        }
    }
    ~CMusicFixture() { g_soundAnalyzer = m_saved; }
    CMusicFixture(const CMusicFixture&) = delete;
    CMusicFixture& operator=(const CMusicFixture&) = delete;

    void SetMusic(bool on) { m_analyzer.m_hasMusic = on; }

    CSoundAnalyzer m_analyzer;

private:
    CSoundAnalyzer* m_saved;
};
