#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>

class CLoopbackCapture;
class CSongDecoder;
class CSpectrumFft;

// The one sound object of the engine: it takes blocks of 576 stereo float
// frames from the computer's output (or a song file decoded in step with the
// engine's clock) and turns them into a spectrum, three bands with their
// averages, a beat value and a waveform that holds still on screen. All of
// it runs on the frame thread, once a frame.
class CSoundAnalyzer
{
public:
    static constexpr int BlockFrames = 576;
    static constexpr int BlockFloats = BlockFrames * 2;
    static constexpr int SpectrumBins = 512;
    static constexpr int WaveSamples = 480;

    CSoundAnalyzer();
    ~CSoundAnalyzer();
    CSoundAnalyzer(const CSoundAnalyzer&) = delete;
    CSoundAnalyzer& operator=(const CSoundAnalyzer&) = delete;

    // ---- Sources (the capture or the song file) ----

    // Once a frame with the frame's length in seconds: opens the source at
    // the first call, takes the blocks that came, and keeps the silence rule.
    void Update(float deltaTime);
    bool IsMusicActive() const { return m_captureEnabled && m_hasMusic; }

    // Configuration, copied in by the engine.
    int m_maxSilence = 10;
    bool m_captureEnabled = false;
    // A song file to decode instead of capturing; empty captures.
    std::string m_songPath;
    // The capture source to open; empty means the default output's monitor.
    std::string m_captureSource;

    bool m_started = false;
    float m_playTime = 0.0f;
    double m_silenceStart = 0.0;
    bool m_hasMusic = false;
    // The engine's frame rate estimate: the analysis scales its smoothing by it.
    float m_fps = 30.0f;

    // The sources; made at the first Update unless a test put its own here.
    std::unique_ptr<CLoopbackCapture> m_capture;
    std::unique_ptr<CSongDecoder> m_decoder;

    // ---- Analysis ----

    // `data` is BlockFloats interleaved samples, or null to analyse the
    // previous wave again.
    void ProcessSamples(int frames, const float* data);
    // Channel -1 for both, 0 left, 1 right; position 0 to 1.
    float GetWaveform(int channel, float position) const;
    // Level 0 raw, 1 to 3 smoothed; from and to 0 to 1 over the lower quarter
    // of the spectrum.
    float GetSpectrum(int channel, int level, float from, float to) const;
    float GetBeat() const { return m_beat; }
    // kind 0 immediate, 1 fast, 2 medium, 3 slow; index 0 bass, 1 mid, 2 treble.
    float GetBand(int channel, int kind, int index) const;

    int m_blocks = 0;
    int m_channels = 0;
    int m_bins = 0;
    int m_lastFrames = 0;
    float m_waveMax = 0.01f;
    float m_beat = 0.0f;
    float m_imm[2][3] = {};
    float m_fast[2][3];
    float m_medium[2][3];
    float m_slow[2][3];
    float m_wave[2][BlockFrames] = {};
    float m_rawSpectrum[2][SpectrumBins] = {};
    float m_smoothedSpectrum[3][2][SpectrumBins] = {};
    float m_oldWave[2][BlockFrames] = {};
    int m_oldOffset[2] = {};

private:
    void StartSources();
    void UpdateSong();
    void UpdateCapture();
    void AnalyseSpectrum();
    void AlignWaves();

    std::unique_ptr<CSpectrumFft> m_fft;
};

// The engine's sound object; null where a run has none.
extern CSoundAnalyzer* g_soundAnalyzer;
